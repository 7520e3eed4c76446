#include "ServerReadiness.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QScopeGuard>
#include <QSocketNotifier>
#include <QTimer>

namespace world {

QString hostName()
{
    return QStringLiteral("tov.base.bluetoothlauncher");
}

Readiness awaitServer(const QString& sessionBusAddress, const QString& busName, int process, int cancel,
                      std::chrono::milliseconds limit)
{
    // A connection of our own: the process-wide one would stay open after the bus's end.
    const QString connection = QStringLiteral("bluetoothworld");
    const auto disconnect = qScopeGuard([&] { QDBusConnection::disconnectFromBus(connection); });
    const QDBusConnection bus = QDBusConnection::connectToBus(sessionBusAddress, connection);
    QEventLoop loop;
    const auto endsWith = [&loop](Readiness what) {
        return [&loop, what] {
            loop.exit(static_cast<int>(what));
        };
    };
    // Watched first and asked then, so that there is no gap in between.
    const QDBusServiceWatcher watcher(busName, bus, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &loop, endsWith(Readiness::Ready));
    if (bus.interface() != nullptr && bus.interface()->isServiceRegistered(busName).value()) {
        return Readiness::Ready;
    }
    const QSocketNotifier ended(process, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &loop, endsWith(Readiness::Ended));
    QSocketNotifier cancelled(cancel >= 0 ? cancel : process, QSocketNotifier::Read);
    cancelled.setEnabled(cancel >= 0);
    QObject::connect(&cancelled, &QSocketNotifier::activated, &loop, endsWith(Readiness::Cancelled));
    QTimer::singleShot(limit, &loop, endsWith(Readiness::TooLate));
    return static_cast<Readiness>(loop.exec());
}

} // namespace world

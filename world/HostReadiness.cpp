#include "HostReadiness.h"

#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <utility>

namespace world {

namespace {

QString connectionName()
{
    return QStringLiteral("bluetoothworld");
}

} // namespace

HostReadiness::HostReadiness(const QString& sessionBusAddress, QString busName)
    : m_busName(std::move(busName))
    , m_bus(QDBusConnection::connectToBus(sessionBusAddress, connectionName()))
{
}

HostReadiness::~HostReadiness()
{
    QDBusConnection::disconnectFromBus(connectionName());
}

HostReadiness::Outcome HostReadiness::wait(int process, int cancel, std::chrono::milliseconds limit)
{
    QEventLoop loop;
    Outcome outcome = Outcome::TooLate;
    const auto finish = [&loop, &outcome](Outcome what) {
        outcome = what;
        loop.quit();
    };
    // Watched first and asked then, so that there is no gap in between.
    const QDBusServiceWatcher watcher(m_busName, m_bus, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &loop,
                     [&finish] { finish(Outcome::Ready); });
    if (m_bus.interface() != nullptr && m_bus.interface()->isServiceRegistered(m_busName).value()) {
        return Outcome::Ready;
    }
    const QSocketNotifier ended(process, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &loop, [&finish] { finish(Outcome::Ended); });
    QSocketNotifier cancelled(cancel >= 0 ? cancel : process, QSocketNotifier::Read);
    cancelled.setEnabled(cancel >= 0);
    QObject::connect(&cancelled, &QSocketNotifier::activated, &loop,
                     [&finish] { finish(Outcome::Cancelled); });
    QTimer::singleShot(limit, &loop, [&finish] { finish(Outcome::TooLate); });
    loop.exec();
    return outcome;
}

} // namespace world

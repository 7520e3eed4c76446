#include "ServerReadiness.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

namespace world {

namespace {

const QLatin1String Name("bluetoothworld");

/// A connection of our own: the process-wide one would stay open after the bus's end.
class OwnConnection
{
public:
    explicit OwnConnection(const QString& address)
        : m_bus(QDBusConnection::connectToBus(address, Name))
    {
    }
    ~OwnConnection() { QDBusConnection::disconnectFromBus(Name); }
    OwnConnection(const OwnConnection&) = delete;
    OwnConnection& operator=(const OwnConnection&) = delete;

    [[nodiscard]] const QDBusConnection& bus() const { return m_bus; }
    [[nodiscard]] bool has(const QString& busName) const
    {
        return m_bus.interface() != nullptr && m_bus.interface()->isServiceRegistered(busName).value();
    }

private:
    QDBusConnection m_bus;
};

} // namespace

QString hostName()
{
    return QStringLiteral("tov.base.bluetoothlauncher");
}

Readiness awaitServer(const QString& sessionBusAddress, const QString& busName, int process, int cancel,
                      std::chrono::milliseconds limit)
{
    const OwnConnection connection(sessionBusAddress);
    QEventLoop loop;
    const auto endsWith = [&loop](Readiness what) {
        return [&loop, what] {
            loop.exit(static_cast<int>(what));
        };
    };
    // Watched first and asked then, so that there is no gap in between.
    const QDBusServiceWatcher watcher(busName, connection.bus(), QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &loop, endsWith(Readiness::Ready));
    if (connection.has(busName)) {
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

void awaitAbsence(const QString& sessionBusAddress, const QString& busName, std::chrono::milliseconds limit)
{
    const OwnConnection connection(sessionBusAddress);
    QEventLoop loop;
    const QDBusServiceWatcher watcher(busName, connection.bus(), QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, &loop, &QEventLoop::quit);
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    if (connection.has(busName)) {
        loop.exec();
    }
}

} // namespace world

#include "Waiting.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>

namespace testkit {

const QString& simulationName()
{
    static const QString name = QStringLiteral("tov.sim.Bluetooth");
    return name;
}

const QString& daemonName()
{
    static const QString name = QStringLiteral("com.qarn.bluetooth");
    return name;
}

bool isOnTheBus(const QString& name)
{
    return QDBusConnection::systemBus().interface()->isServiceRegistered(name);
}

bool waitForName(const QString& name, bool there, std::chrono::milliseconds patience)
{
    QDBusServiceWatcher watcher(name, QDBusConnection::systemBus(), QDBusServiceWatcher::WatchForOwnerChange);
    return waitUntil([&] { return isOnTheBus(name) == there; }, patience,
                     [&](QEventLoop& loop, const auto& check) {
                         QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, &loop, check);
                     });
}

} // namespace testkit

#include "Simulation.h"

#include "ControlNames.h"
#include "simulationproxy.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusVariant>

namespace simctl {
namespace {

using cli::ExitStatus;
using cli::Failure;

QDBusMessage propertyCall(const char* member, const char* name)
{
    QDBusMessage call = QDBusMessage::createMethodCall(bt::controlService(), bt::controlPath(),
                                                       QStringLiteral("org.freedesktop.DBus.Properties"),
                                                       QLatin1String(member));
    call << QLatin1String(SimulationProxy::staticInterfaceName()) << QLatin1String(name);
    return call;
}

} // namespace

cli::Expected<QDBusConnection> systemBus()
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (bus.isConnected())
        return bus;
    return Failure{ ExitStatus::NoServer,
                    QStringLiteral("no system bus (%1); DBUS_SYSTEM_BUS_ADDRESS has to name one")
                        .arg(bus.lastError().message().simplified()) };
}

Simulation::Simulation(std::shared_ptr<SimulationProxy> proxy)
    : m_proxy(std::move(proxy))
{
}

cli::Expected<Simulation> Simulation::find()
{
    const auto bus = systemBus();
    if (!bus)
        return bus.failure();
    if (!bus->interface()->isServiceRegistered(bt::controlService())) {
        return Failure{ ExitStatus::NoServer,
                        QStringLiteral("no simulated radio is on the system bus; "
                                       "\"itemctl set enabled true\" in \"./run\" starts one") };
    }
    qDBusRegisterMetaType<QList<QVariantMap>>();
    return Simulation(std::make_shared<SimulationProxy>(bt::controlService(), bt::controlPath(), *bus));
}

cli::Expected<QVariant> Simulation::property(const char* name) const
{
    const QDBusPendingReply<QDBusVariant> reply = m_proxy->connection().asyncCall(propertyCall("Get", name));
    if (const Failure failure = failureOf(reply); failure.status != ExitStatus::Done)
        return failure;
    return reply.value().variant();
}

Failure Simulation::setProperty(const char* name, const QVariant& value) const
{
    QDBusMessage call = propertyCall("Set", name);
    call << QVariant::fromValue(QDBusVariant(value));
    return failureOf(QDBusPendingReply<>(m_proxy->connection().asyncCall(call)));
}

Failure Simulation::failureFrom(const QDBusError& error)
{
    const QString name = error.name();
    ExitStatus status = ExitStatus::Failed;
    if (name == bt::controlError("NoSuchDevice"))
        status = ExitStatus::NoSuchItem;
    else if (name == bt::controlError("InvalidArgument"))
        status = ExitStatus::Usage;
    else if (error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout)
        status = ExitStatus::NoAnswer;
    else if (error.type() == QDBusError::ServiceUnknown || error.type() == QDBusError::Disconnected)
        status = ExitStatus::NoServer;
    return { status, error.message() };
}

} // namespace simctl

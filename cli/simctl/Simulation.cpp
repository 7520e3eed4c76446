#include "Simulation.h"

#include "ControlNames.h"
#include "simulationproxy.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QXmlStreamReader>

namespace simctl {
namespace {

using cli::ExitStatus;
using cli::Failure;

/// How long the simulation may take to answer.
constexpr int PatienceMilliseconds = 10'000;

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
    if (bus.isConnected()) {
        return bus;
    }
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
    if (!bus) {
        return bus.failure();
    }
    if (!bus->interface()->isServiceRegistered(bt::controlService())) {
        return Failure{ ExitStatus::NoServer,
                        QStringLiteral("no simulated radio is on the system bus; "
                                       "\"itemctl set enabled true\" in \"./run\" starts one") };
    }
    qDBusRegisterMetaType<QList<QVariantMap>>();
    auto proxy = std::make_shared<SimulationProxy>(bt::controlService(), bt::controlPath(), *bus);
    proxy->setTimeout(PatienceMilliseconds);
    return Simulation(std::move(proxy));
}

cli::Expected<QVariant> Simulation::property(const char* name) const
{
    const QDBusPendingReply<QDBusVariant> reply = ask(propertyCall("Get", name));
    if (const Failure failure = failureOf(reply); failure.status != ExitStatus::Done) {
        return failure;
    }
    return reply.value().variant();
}

Failure Simulation::setProperty(const char* name, const QVariant& value) const
{
    QDBusMessage call = propertyCall("Set", name);
    call << QVariant::fromValue(QDBusVariant(value));
    return failureOf(QDBusPendingReply<>(ask(call)));
}

QStringList Simulation::daemonMembers(const QString& kinds) const
{
    const QString daemon = QStringLiteral("com.qarn.bluetooth");
    const QDBusPendingReply<QString> reply = ask(QDBusMessage::createMethodCall(
        daemon, QStringLiteral("/com/qarn/Bluetooth"), QStringLiteral("org.freedesktop.DBus.Introspectable"),
        QStringLiteral("Introspect")));
    if (failureOf(reply).status != ExitStatus::Done) {
        return {};
    }
    QStringList members;
    bool isOfDaemon = false;
    for (QXmlStreamReader xml(reply.value()); !xml.atEnd();) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const QString name = xml.attributes().value(QLatin1String("name")).toString();
        if (xml.name() == QLatin1String("interface")) {
            isOfDaemon = name == daemon;
        } else if (isOfDaemon && kinds.contains(xml.name().toString().toUpper())) {
            members << name;
        }
    }
    members.removeDuplicates();
    return members;
}

QDBusPendingCall Simulation::ask(const QDBusMessage& call) const
{
    return m_proxy->connection().asyncCall(call, m_proxy->timeout());
}

Failure Simulation::failureFrom(const QDBusError& error)
{
    const QString name = error.name();
    ExitStatus status = ExitStatus::Failed;
    if (name == bt::controlError("NoSuchDevice")) {
        status = ExitStatus::NoSuchItem;
    } else if (name == bt::controlError("InvalidArgument")) {
        status = ExitStatus::Usage;
    } else if (error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout) {
        return { ExitStatus::NoAnswer,
                 QStringLiteral("the simulation does not answer; it is stopped, or busy, or has ended") };
    } else if (error.type() == QDBusError::ServiceUnknown || error.type() == QDBusError::Disconnected) {
        status = ExitStatus::NoServer;
    }
    return { status, error.message() };
}

} // namespace simctl

#include "SimulationClient.h"

#include "ControlNames.h"
#include "simulationproxy.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QXmlStreamReader>

namespace simctl {
namespace {

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

base::Result<QDBusConnection> systemBus()
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (bus.isConnected()) {
        return bus;
    }
    return base::error(QStringLiteral("no system bus (%1); DBUS_SYSTEM_BUS_ADDRESS has to name one")
                           .arg(bus.lastError().message().simplified()),
                       base::Failure::NoServer);
}

SimulationClient::SimulationClient(std::shared_ptr<SimulationProxy> proxy)
    : m_proxy(std::move(proxy))
{
}

base::Result<SimulationClient> SimulationClient::find()
{
    const auto bus = systemBus();
    if (!bus) {
        return tl::unexpected(bus.error());
    }
    if (!bus->interface()->isServiceRegistered(bt::controlService())) {
        return base::error(QStringLiteral("no simulated radio is on the system bus; "
                                          "\"itemctl set enabled true\" in \"./run\" starts one"),
                           base::Failure::NoServer);
    }
    qDBusRegisterMetaType<QList<QVariantMap>>();
    auto proxy = std::make_shared<SimulationProxy>(bt::controlService(), bt::controlPath(), *bus);
    proxy->setTimeout(PatienceMilliseconds);
    return SimulationClient(std::move(proxy));
}

base::Result<QVariant> SimulationClient::property(const char* name) const
{
    return answerOf(QDBusPendingReply<QDBusVariant>(ask(propertyCall("Get", name))))
        .map([](const QDBusVariant& value) { return value.variant(); });
}

base::Result<> SimulationClient::setProperty(const char* name, const QVariant& value) const
{
    QDBusMessage call = propertyCall("Set", name);
    call << QVariant::fromValue(QDBusVariant(value));
    return answerOf(QDBusPendingReply<>(ask(call)));
}

QStringList SimulationClient::daemonMembers(const QString& kinds) const
{
    const QString daemon = QStringLiteral("com.qarn.bluetooth");
    const auto description = answerOf(QDBusPendingReply<QString>(ask(QDBusMessage::createMethodCall(
        daemon, QStringLiteral("/com/qarn/Bluetooth"), QStringLiteral("org.freedesktop.DBus.Introspectable"),
        QStringLiteral("Introspect")))));
    QStringList members;
    bool isOfDaemon = false;
    for (QXmlStreamReader xml(description.value_or(QString())); !xml.atEnd();) {
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

QDBusPendingCall SimulationClient::ask(const QDBusMessage& call) const
{
    return m_proxy->connection().asyncCall(call, m_proxy->timeout());
}

base::Result<> SimulationClient::answerOf(QDBusPendingReply<> reply)
{
    reply.waitForFinished();
    if (!reply.isError()) {
        return {};
    }
    const QDBusError error = reply.error();
    switch (error.type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
        return base::error(
            QStringLiteral("the simulation does not answer; it is stopped, or busy, or has ended"),
            base::Failure::NoAnswer);
    case QDBusError::ServiceUnknown:
    case QDBusError::Disconnected:
        return base::error(error.message(), base::Failure::NoServer);
    default:
        break;
    }
    const bool isNoDevice = error.name() == bt::controlError("NoSuchDevice");
    const bool isWrong = error.name() == bt::controlError("InvalidArgument");
    return base::error(error.message(),
                       isNoDevice    ? base::Failure::NoSuchItem
                           : isWrong ? base::Failure::InvalidArgument
                                     : base::Failure::Failed);
}

} // namespace simctl

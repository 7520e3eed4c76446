#include "ActionMonitor.h"

#include "ServerReadiness.h"

#include <QDBusVariant>
#include <QSet>
#include <QStringList>

#include <unistd.h>

namespace world {

namespace {

constexpr int AnswerLimit = 1000; // ms; the host may be waiting for a daemon

const QLatin1String Overheard("bluetoothworld overhears actions");
const QLatin1String Session("bluetoothworld asks the host");
const QLatin1String System("bluetoothworld asks for the daemon");
const QLatin1String EndInterface("tov.world.Actions");

QDBusMessage busCall(const QString& interface, const QString& method, const QVariantList& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"), interface, method);
    call.setArguments(arguments);
    return call;
}

/// The action's id, of an address, MODULE:ID or ID, where it is one that the module passes to the daemon.
QString idForRadio(const QString& action)
{
    static const QSet<QString> forRadio{ QStringLiteral("scan"),
                                         QStringLiteral("cancelscan"),
                                         QStringLiteral("pair"),
                                         QStringLiteral("unpair"),
                                         QStringLiteral("pinreply"),
                                         QStringLiteral("pindecline"),
                                         QStringLiteral("confirmcode"),
                                         QStringLiteral("rejectcode"),
                                         QStringLiteral("connectAddr"),
                                         QStringLiteral("disconnectAddr"),
                                         QStringLiteral("registerrfcommuuid"),
                                         QStringLiteral("killiap"),
                                         QStringLiteral("unregisterrfcommuuid"),
                                         QStringLiteral("sendwifedcmdctlfd") };
    const QStringList parts = action.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    const QString id = parts.value(parts.size() - 1);
    const bool isOurs = parts.size() == 1 || parts.value(parts.size() - 2) == QLatin1String("bluetooth");
    return isOurs && forRadio.contains(id) ? id : QString();
}

} // namespace

ActionMonitor::ActionMonitor(const QString& sessionBusAddress, const QString& systemBusAddress, int notices)
    : m_overheard(QDBusConnection::connectToBus(sessionBusAddress, Overheard))
    , m_session(QDBusConnection::connectToBus(sessionBusAddress, Session))
    , m_system(QDBusConnection::connectToBus(systemBusAddress, System))
    , m_notices(notices)
{
}

ActionMonitor::~ActionMonitor()
{
    m_overheard.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
    for (const QLatin1String& name : { Overheard, Session, System }) {
        QDBusConnection::disconnectFromBus(name);
    }
}

bool ActionMonitor::listen()
{
    if (!m_overheard.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath)) {
        return false;
    }
    const QStringList rules{ QStringLiteral("type='method_call',path='/tov/base/Items',member='Trigger'"),
                             QStringLiteral("type='method_call',interface='%1'").arg(EndInterface) };
    const QDBusMessage reply =
        m_overheard.call(busCall(QStringLiteral("org.freedesktop.DBus.Monitoring"),
                                 QStringLiteral("BecomeMonitor"), { rules, QVariant::fromValue(0U) }));
    return reply.type() == QDBusMessage::ReplyMessage;
}

// The bus passes messages on in their order.
void ActionMonitor::markEnd()
{
    m_session.send(busCall(EndInterface, QStringLiteral("End"), {}));
}

bool ActionMonitor::handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/)
{
    if (message.interface() == EndInterface) {
        write({});
        return true;
    }
    const QString id = idForRadio(message.arguments().value(0).toString());
    if (!id.isEmpty() && !radioIsThere()) {
        write(QStringLiteral("\"%1\" reached no radio: %2").arg(id, whyNone()));
    }
    return true;
}

void ActionMonitor::write(const QString& line) const
{
    const QByteArray bytes = line.toUtf8() + '\n';
    // A pipe that is full is that of a flood, of which a part is shown anyway.
    [[maybe_unused]] const ssize_t written =
        ::write(m_notices, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

bool ActionMonitor::radioIsThere() const
{
    const QDBusMessage reply =
        m_system.call(busCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"),
                              { QStringLiteral("com.qarn.bluetooth") }));
    return reply.type() != QDBusMessage::ReplyMessage || reply.arguments().value(0).toBool();
}

QString ActionMonitor::whyNone() const
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(hostName(), QStringLiteral("/tov/base/Items"),
                                       QStringLiteral("tov.base.Items"), QStringLiteral("Get"));
    question.setArguments({ QStringLiteral("bluetooth:enabled") });
    const QDBusMessage reply = m_session.call(question, QDBus::Block, AnswerLimit);
    const QVariant enabled = reply.arguments().value(0).value<QDBusVariant>().variant();
    if (reply.type() != QDBusMessage::ReplyMessage || enabled.type() != QVariant::Bool) {
        return QStringLiteral("com.qarn.bluetooth is not on the system bus");
    }
    return enabled.toBool() ? QStringLiteral("it is switched on, but not there yet, or lent; \"itemctl wait "
                                             "status=On\" waits for it")
                            : QStringLiteral("it is off; \"itemctl set enabled true\" switches it on");
}

} // namespace world

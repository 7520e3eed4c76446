#include "ActionMonitor.h"

#include "NoticeOutlet.h"
#include "ServerReadiness.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QEventLoop>
#include <QSet>
#include <QStringList>
#include <QTimer>

namespace world {

namespace {

constexpr int AnswerLimit = 1000; // ms; the host may be waiting for a daemon
constexpr int LastMoment = 1500; // ms; longer than we wait for an answer

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

ActionMonitor::ActionMonitor(const QString& sessionBusAddress, const QString& systemBusAddress,
                             NoticeOutlet& outlet)
    : m_outlet(outlet)
    , m_overheard(QDBusConnection::connectToBus(sessionBusAddress, Overheard))
    , m_session(QDBusConnection::connectToBus(sessionBusAddress, Session))
    , m_system(QDBusConnection::connectToBus(systemBusAddress, System))
    , m_isListening(listen())
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

void ActionMonitor::finish()
{
    if (!m_isListening) {
        return;
    }
    QEventLoop loop;
    connect(this, &ActionMonitor::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(LastMoment, &loop, &QEventLoop::quit);
    // The bus passes messages on in their order.
    m_session.send(busCall(EndInterface, QStringLiteral("End"), {}));
    loop.exec();
}

void ActionMonitor::finishIfDone()
{
    if (m_hasSeenEnd && m_questions == 0) {
        Q_EMIT finished();
    }
}

bool ActionMonitor::handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/)
{
    if (message.interface() == EndInterface) {
        m_hasSeenEnd = true;
        finishIfDone();
        return true;
    }
    const QString id = idForRadio(message.arguments().value(0).toString());
    if (id.isEmpty()) {
        return true;
    }
    const QDBusMessage question =
        busCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"),
                { QStringLiteral("com.qarn.bluetooth") });
    ask(m_system, question, [this, id](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().value(0).toBool()) {
            askWhyNoRadio(id);
        }
    });
    return true;
}

void ActionMonitor::ask(const QDBusConnection& bus, const QDBusMessage& question, const Answer& then)
{
    ++m_questions;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(question, AnswerLimit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, then] {
        watcher->deleteLater();
        then(watcher->reply());
        --m_questions;
        finishIfDone();
    });
}

void ActionMonitor::askWhyNoRadio(const QString& action)
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(hostName(), QStringLiteral("/tov/base/Items"),
                                       QStringLiteral("tov.base.Items"), QStringLiteral("Get"));
    question.setArguments({ QStringLiteral("bluetooth:enabled") });
    ask(m_session, question, [this, action](const QDBusMessage& reply) {
        const QVariant enabled = reply.arguments().value(0).value<QDBusVariant>().variant();
        const bool isKnown = reply.type() == QDBusMessage::ReplyMessage && enabled.type() == QVariant::Bool;
        const QString why = !isKnown ? QStringLiteral("com.qarn.bluetooth is not on the system bus")
            : enabled.toBool()
            ? QStringLiteral("it is switched on, but not there yet, or lent; \"itemctl wait "
                             "status=On\" waits for it")
            : QStringLiteral("it is off; \"itemctl set enabled true\" switches it on");
        m_outlet.show(QStringLiteral("\"%1\" reached no radio: %2").arg(action, why).toUtf8());
    });
}

} // namespace world

#include "BusFront.h"

#include "DaemonNames.h"
#include "Notice.h"
#include "SimulationClock.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusReply>
#include <QDBusVariant>

#include <csignal>
#include <utility>

namespace bt {

namespace {

QString ownerOf(const QString& name, const QDBusConnection& bus)
{
    const QDBusReply<uint> pid = bus.interface()->servicePid(name);
    return pid.isValid() ? QStringLiteral("process %1").arg(pid.value()) : QStringLiteral("another process");
}

bool isOfProperties(const QDBusMessage& message, const char* member)
{
    return message.interface() == propertiesInterface() && message.member() == QLatin1String(member);
}

} // namespace

BusFront::BusFront(Answer answer, SimulationClock& clock)
    : m_answer(std::move(answer))
    , m_clock(clock)
    , m_bus(QString())
    , m_otherBus(QString())
{
    for (QTimer* timer : { &m_stallEnd, &m_return }) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&m_stallEnd, &QTimer::timeout, this, &BusFront::endStall);
    connect(&m_return, &QTimer::timeout, this, &BusFront::comeBack);
}

base::Result<> BusFront::appear(const QDBusConnection& bus)
{
    m_bus = bus;
    if (!m_bus.registerVirtualObject(daemonPath(), this, QDBusConnection::SingleNode)) {
        return base::error(QStringLiteral("the object %1 exists already").arg(daemonPath()));
    }
    if (m_bus.registerService(daemonService())) {
        return {};
    }
    const QDBusError denied = m_bus.lastError();
    m_bus.unregisterObject(daemonPath());
    if (denied.isValid()) {
        return base::error(QStringLiteral("the bus does not give us the name %1: %2")
                               .arg(daemonService(), denied.message()));
    }
    return base::error(QStringLiteral("the name %1 is taken by %2; only one Bluetooth daemon can run")
                           .arg(daemonService(), ownerOf(daemonService(), m_bus)));
}

void BusFront::end()
{
    clearFaults();
    m_bus.unregisterService(daemonService());
    m_bus.unregisterObject(daemonPath());
    m_hasEnded = true;
}

void BusFront::sync() const
{
    m_bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
}

QString BusFront::introspect(const QString& /*path*/) const
{
    return {}; // the daemon's own answer is passed on
}

bool BusFront::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    if (m_hasEnded) {
        return false;
    }
    note(message);
    take({ message, connection });
    return true;
}

void BusFront::note(const QDBusMessage& message)
{
    DaemonCall call{ m_clock.now(), message.member(), message.arguments() };
    if (isOfProperties(message, "Set")) {
        call.member = QStringLiteral("set ") + message.arguments().value(1).toString();
        const QVariant value = message.arguments().value(2).value<QDBusVariant>().variant();
        call.arguments = value.isValid() ? QVariantList{ value } : QVariantList();
    } else if (!message.interface().isEmpty() && message.interface() != daemonService()) {
        return;
    }
    if (m_calls.size() == MostCalls) {
        m_calls.pop_front();
    }
    m_calls.push_back(std::move(call));
}

// Faults befall whole requests here, and single values in answerTo(); nowhere else.
void BusFront::take(Request request)
{
    if (m_hasEnded) {
        return;
    }
    const bool hasWaited = std::exchange(request.hasWaited, true);
    if (m_faults.find(FaultKind::Stall) != nullptr) {
        m_waiting.append(request);
        return;
    }
    const auto delay = m_faults.durationOf(FaultKind::Slow);
    if (delay.count() > 0 && !hasWaited) {
        QTimer::singleShot(delay, Qt::PreciseTimer, this, [this, request] { take(request); });
        return;
    }
    const QDBusMessage& message = request.message;
    if (m_faults.find(FaultKind::Error) != nullptr) {
        request.connection.send(message.createErrorReply(daemonService() + QStringLiteral(".Error.Failed"),
                                                         QStringLiteral("the radio has failed")));
        return;
    }
    const QDBusMessage reply = answerTo(message);
    if (message.isReplyRequired()) {
        request.connection.send(reply.type() == QDBusMessage::ErrorMessage
                                    ? message.createErrorReply(reply.errorName(), reply.errorMessage())
                                    : message.createReply(reply.arguments()));
    }
}

QDBusMessage BusFront::answerTo(const QDBusMessage& request) const
{
    const auto* payload = m_faults.find(FaultKind::Payload, request.arguments().value(1).toString());
    if (payload != nullptr && isOfProperties(request, "Get")) {
        return request.createReply(QVariant::fromValue(QDBusVariant(payload->payload)));
    }
    const QDBusMessage reply = m_answer(request);
    if (reply.type() == QDBusMessage::ErrorMessage || !isOfProperties(request, "GetAll")) {
        return reply;
    }
    auto properties = qdbus_cast<QVariantMap>(reply.arguments().value(0));
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        if (const auto* replaced = m_faults.find(FaultKind::Payload, property.key())) {
            *property = replaced->payload;
        }
    }
    return request.createReply(properties);
}

// Faults befall signals here, and nowhere else.
void BusFront::pass(const QString& signal, const QVariantList& arguments)
{
    if (m_faults.isSilent(signal) || m_faults.take(FaultKind::Drop, signal)) {
        return;
    }
    QDBusMessage message = QDBusMessage::createSignal(daemonPath(), daemonService(), signal);
    const Fault* payload = m_faults.find(FaultKind::Payload, signal);
    message.setArguments(
        payload == nullptr ? arguments : QVariantList{ QVariant::fromValue(QDBusVariant(payload->payload)) });
    m_gathered.append(message);
    if (m_faults.take(FaultKind::Double, signal)) {
        m_gathered.append(message);
    }
    const Fault* burst = m_faults.find(FaultKind::Burst);
    if (m_faults.find(FaultKind::Stall) == nullptr
        && (burst == nullptr || m_gathered.size() >= burst->count())) {
        sendGathered();
    }
}

void BusFront::sendGathered()
{
    const QList<QDBusMessage> messages = std::exchange(m_gathered, {});
    for (const QDBusMessage& message : messages) {
        m_bus.send(message);
    }
}

void BusFront::apply(const Fault& fault)
{
    const auto limit = [&fault](QTimer& end) {
        end.stop();
        if (const auto duration = fault.duration()) {
            end.start(*duration);
        }
    };
    switch (fault.word->kind) {
    case FaultKind::None:
        clearFaults();
        break;
    case FaultKind::Stall:
        m_faults.add(fault);
        limit(m_stallEnd);
        break;
    case FaultKind::Leave:
        m_faults.add(fault);
        leave();
        limit(m_return);
        break;
    case FaultKind::Handover:
        handOver();
        break;
    case FaultKind::Crash:
        // Without a word, as a crash is, but not before whoever asked for it has the answer.
        QTimer::singleShot(0, this, [this] {
            sync();
            std::raise(SIGKILL);
        });
        break;
    default:
        m_faults.add(fault);
        break;
    }
    Q_EMIT faultsChanged();
}

void BusFront::clearFaults()
{
    m_faults.keepOnly(FaultKind::Leave); // until it is back
    endStall();
    comeBack();
}

void BusFront::endStall()
{
    m_stallEnd.stop();
    m_faults.remove(FaultKind::Stall);
    sendGathered();
    const QList<Request> waiting = std::exchange(m_waiting, {});
    for (const Request& request : waiting) {
        take(request);
    }
}

void BusFront::leave()
{
    if (!isAway()) {
        m_faults.add(*Fault::parse({ QStringLiteral("leave") }));
    }
    m_bus.unregisterService(daemonService());
}

void BusFront::comeBack()
{
    m_return.stop();
    if (m_faults.remove(FaultKind::Leave) && !m_bus.registerService(daemonService())) {
        notice(QStringLiteral("%1 is taken by %2 meanwhile")
                   .arg(daemonService(), ownerOf(daemonService(), m_bus)));
    }
}

// The next owner waits in the queue for the name, so that the bus passes it on in one step.
void BusFront::handOver()
{
    if (isAway()) {
        return;
    }
    if (!m_otherBus.isConnected()) {
        m_otherBus =
            QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("the next owner"));
        m_otherBus.registerVirtualObject(daemonPath(), this, QDBusConnection::SingleNode);
    }
    m_otherBus.interface()->registerService(daemonService(), QDBusConnectionInterface::QueueService,
                                            QDBusConnectionInterface::AllowReplacement);
    sync(); // what was sent before the handover has the old owner
    m_bus.interface()->unregisterService(daemonService());
    std::swap(m_bus, m_otherBus);
}

} // namespace bt

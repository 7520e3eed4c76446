#include "BusFront.h"

#include "DaemonNames.h"
#include "Notice.h"
#include "SimulationClock.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
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

bool isReadOfAll(const QDBusMessage& message)
{
    return message.interface() == propertiesInterface() && message.member() == QLatin1String("GetAll");
}

/// Waits until the bus has everything that was sent before.
void sync(const QDBusConnection& bus)
{
    bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
}

} // namespace

BusFront::BusFront(DaemonBackend& backend, SimulationClock& clock)
    : m_backend(backend)
    , m_clock(clock)
    , m_bus(QString())
    , m_otherBus(QString())
{
    connect(&backend, &DaemonBackend::sent, this, &BusFront::pass);
    connect(&backend, &DaemonBackend::left, this, &BusFront::leave);
    connect(&backend, &DaemonBackend::returned, this, &BusFront::comeBack);
    connect(&backend, &DaemonBackend::handedOver, this, &BusFront::handOver);
    for (QTimer* timer : { &m_stallEnd, &m_return }) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&m_stallEnd, &QTimer::timeout, this, &BusFront::endStall);
    connect(&m_return, &QTimer::timeout, this, &BusFront::comeBack);
}

QString BusFront::appear(const QDBusConnection& bus)
{
    m_bus = bus;
    if (!m_bus.registerVirtualObject(daemonPath(), this, QDBusConnection::SingleNode)) {
        return QStringLiteral("the object %1 exists already").arg(daemonPath());
    }
    if (m_bus.registerService(daemonService())) {
        return {};
    }
    const QDBusError denied = m_bus.lastError();
    m_bus.unregisterObject(daemonPath());
    if (denied.isValid()) {
        return QStringLiteral("the bus does not give us the name %1: %2")
            .arg(daemonService(), denied.message());
    }
    return QStringLiteral("the name %1 is taken by %2; only one Bluetooth daemon can run")
        .arg(daemonService(), ownerOf(daemonService(), m_bus));
}

void BusFront::end(std::function<void()> done)
{
    m_backend.stop();
    m_backend.flush([this, done] {
        clearFaults();
        m_bus.unregisterService(daemonService());
        m_bus.unregisterObject(daemonPath());
        m_hasEnded = true;
        // QtDBus corrupts the heap when a call is given up in the moment in which its answer comes.
        m_backend.flush(done);
    });
}

void BusFront::flush(std::function<void()> done)
{
    m_backend.flush([this, done] {
        sync(m_bus); // after a handover others may ask on another connection
        done();
    });
}

QString BusFront::introspect(const QString& /*path*/) const
{
    return {}; // the backend's own answer is passed on
}

bool BusFront::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    if (m_hasEnded) {
        return false;
    }
    note(message);
    const Request request{ message, connection };
    if (m_isStalled) {
        m_waiting.append(request);
    } else if (m_faults.answersLate.count() > 0) {
        QTimer::singleShot(m_faults.answersLate, Qt::PreciseTimer, this, [this, request] { take(request); });
    } else {
        take(request);
    }
    return true;
}

void BusFront::note(const QDBusMessage& message)
{
    DaemonCall call{ m_clock.now(), message.member(), message.arguments() };
    if (message.interface() == propertiesInterface() && message.member() == QLatin1String("Set")) {
        call.member = QStringLiteral("set ") + message.arguments().value(1).toString();
        call.arguments = { message.arguments().value(2).value<QDBusVariant>().variant() };
    } else if (!message.interface().isEmpty() && message.interface() != daemonService()) {
        return;
    }
    if (m_calls.size() == MostCalls) {
        m_calls.pop_front();
    }
    m_calls.push_back(std::move(call));
}

void BusFront::take(const Request& request)
{
    if (m_isStalled) {
        m_waiting.append(request);
    } else if (!m_hasEnded && !misanswer(request)) {
        answer(request);
    }
}

void BusFront::answer(const Request& request)
{
    m_backend.call(request.message, [this, request](const QDBusMessage& reply) {
        if (!request.message.isReplyRequired()) {
            return;
        }
        if (reply.type() == QDBusMessage::ErrorMessage) {
            request.connection.send(
                request.message.createErrorReply(reply.errorName(), reply.errorMessage()));
            return;
        }
        QVariantList arguments = reply.arguments();
        if (isReadOfAll(request.message)) {
            auto properties = qdbus_cast<QVariantMap>(arguments.value(0));
            m_faults.replace(properties);
            arguments = { properties };
        }
        request.connection.send(request.message.createReply(arguments));
    });
}

bool BusFront::misanswer(const Request& request) const
{
    const QDBusMessage& message = request.message;
    if (m_faults.answersErrors) {
        request.connection.send(message.createErrorReply(daemonService() + QStringLiteral(".Error.Failed"),
                                                         QStringLiteral("the radio has failed")));
        return true;
    }
    const bool isRead =
        message.interface() == propertiesInterface() && message.member() == QLatin1String("Get");
    const auto payload = m_faults.payloads.constFind(message.arguments().value(1).toString());
    if (!isRead || payload == m_faults.payloads.constEnd()) {
        return false;
    }
    request.connection.send(message.createReply(QVariant::fromValue(QDBusVariant(payload->value))));
    return true;
}

void BusFront::pass(QDBusMessage signal)
{
    if (m_faults.isSilent(signal.member())) {
        return;
    }
    QDBusMessage own = QDBusMessage::createSignal(daemonPath(), daemonService(), signal.member());
    own.setArguments(signal.arguments());
    const auto payload = m_faults.payloads.constFind(signal.member());
    if (payload != m_faults.payloads.constEnd()) {
        own.setArguments({ QVariant::fromValue(QDBusVariant(payload->value)) });
    }
    m_gathered.append(own);
    if (!m_isStalled && m_gathered.size() >= m_faults.burst) {
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

void BusFront::apply(const FaultRequest& request)
{
    using Kind = FaultRequest::Kind;
    switch (request.kind) {
    case Kind::None:
        clearFaults();
        break;
    case Kind::Stall:
        m_isStalled = true;
        m_stallEnd.stop();
        if (request.duration) {
            m_stallEnd.start(*request.duration);
        }
        break;
    case Kind::Leave:
        leave();
        m_return.stop();
        if (request.duration) {
            m_return.start(*request.duration);
        }
        break;
    case Kind::Handover:
        handOver();
        break;
    case Kind::Crash:
        // Without a word, as a crash is, but not before whoever asked for it has the answer.
        QTimer::singleShot(0, this, [this] {
            sync(m_bus);
            std::raise(SIGKILL);
        });
        break;
    default:
        m_faults.apply(request);
        break;
    }
    Q_EMIT faultsChanged();
}

QList<QVariantMap> BusFront::faults() const
{
    const auto limit = [](const QTimer& end) {
        return end.isActive() ? secondsArgument(end.intervalAsDuration()) : QVariantMap();
    };
    QList<QVariantMap> records = m_faults.records();
    if (m_isStalled) {
        records << faultRecord("stall", QStringLiteral("answers nothing"), limit(m_stallEnd));
    }
    if (m_isAway) {
        records << faultRecord("leave", QStringLiteral("has left the bus"), limit(m_return));
    }
    return records;
}

void BusFront::clearFaults()
{
    m_faults = Faults();
    endStall();
    comeBack();
    sendGathered();
}

void BusFront::endStall()
{
    m_stallEnd.stop();
    if (!std::exchange(m_isStalled, false)) {
        return;
    }
    sendGathered();
    const QList<Request> waiting = std::exchange(m_waiting, {});
    for (const Request& request : waiting) {
        take(request);
    }
}

void BusFront::leave()
{
    m_isAway = true;
    m_bus.unregisterService(daemonService());
}

void BusFront::comeBack()
{
    m_return.stop();
    if (std::exchange(m_isAway, false) && !m_bus.registerService(daemonService())) {
        notice(QStringLiteral("%1 is taken by %2 meanwhile")
                   .arg(daemonService(), ownerOf(daemonService(), m_bus)));
    }
}

// The next owner waits in the queue for the name, so that the bus passes it on in one step.
void BusFront::handOver()
{
    if (m_isAway) {
        return;
    }
    if (!m_otherBus.isConnected()) {
        m_otherBus =
            QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("the next owner"));
        m_otherBus.registerVirtualObject(daemonPath(), this, QDBusConnection::SingleNode);
    }
    m_otherBus.interface()->registerService(daemonService(), QDBusConnectionInterface::QueueService,
                                            QDBusConnectionInterface::AllowReplacement);
    sync(m_bus); // what was sent before the handover has the old owner
    m_bus.interface()->unregisterService(daemonService());
    std::swap(m_bus, m_otherBus);
}

} // namespace bt

#include "CallQueue.h"

#include "ItemServer.h"
#include "ItemsAdaptor.h"
#include "Names.h"
#include "Outflow.h"
#include "RequestLimits.h"
#include "Weight.h"

#include <algorithm>
#include <utility>

namespace ipc {
namespace {

/// So many calls of a caller wait that its end is worth a watch; each costs the bus two messages.
constexpr std::size_t Many = 16;
constexpr qint64 WeightOfRefusal = 512;

QString shown(const QDBusMessage& call)
{
    return QStringLiteral("%1 %2").arg(call.member(), call.arguments().value(0).toString()).trimmed();
}

} // namespace

CallQueue::CallQueue(ItemServer& server, Outflow& outflow, const QDBusConnection& connection)
    : m_server(server)
    , m_outflow(outflow)
{
    new ItemsAdaptor(this); // owned by this object, as all adaptors are
    m_callerLeft.setConnection(connection);
    m_callerLeft.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_callerLeft, &QDBusServiceWatcher::serviceUnregistered, this, &CallQueue::dropUnheard);
    connect(&m_outflow, &Outflow::roomMade, this, &CallQueue::scheduleAnswer);
}

QStringList CallQueue::modules() const
{
    return m_server.modules();
}

qulonglong CallQueue::List(const QStringList& patterns, ItemRecords& items)
{
    Q_UNUSED(items)
    takeOfPatterns(patterns, &ItemServer::List);
    return 0;
}

qulonglong CallQueue::Watch(const QStringList& patterns, ItemRecords& items)
{
    Q_UNUSED(items)
    takeOfPatterns(patterns, &ItemServer::Watch);
    return 0;
}

void CallQueue::takeOfPatterns(const QStringList& patterns,
                               qulonglong (ItemServer::*method)(const QStringList&, ItemRecords&))
{
    take(limits::checkPatterns(patterns), [this, patterns, method] {
        ItemRecords items;
        const qulonglong serial = (m_server.*method)(patterns, items);
        return QVariantList{ serial, QVariant::fromValue(items) };
    });
}

QDBusVariant CallQueue::Get(const QString& item)
{
    take(limits::checkName(item),
         [this, item] { return QVariantList{ QVariant::fromValue(m_server.Get(item)) }; });
    return QDBusVariant(QString());
}

void CallQueue::Set(const QString& item, const QDBusVariant& value)
{
    take(limits::checkValue(item, value.variant()), [this, item, value] {
        m_server.Set(item, value);
        return QVariantList();
    });
}

QString CallQueue::Trigger(const QString& action, const QString& text)
{
    take(limits::checkText(action, text),
         [this, action, text] { return QVariantList{ m_server.Trigger(action, text) }; });
    return {};
}

QVariantMap CallQueue::Describe(const QString& item)
{
    take(limits::checkName(item), [this, item] { return QVariantList{ m_server.Describe(item) }; });
    return {};
}

void CallQueue::take(const Outcome<Done>& checked, Answer answer)
{
    setDelayedReply(true);
    const QString caller = message().service();
    const auto known = m_waiting.constFind(caller);
    const std::size_t waiting = known == m_waiting.constEnd() ? 0 : known->size();
    if (!checked) {
        send(message(), message().createErrorReply(names::LimitExceeded, checked.error().message));
    } else if (waiting >= MostOfOne) {
        send(message(),
             message().createErrorReply(
                 QDBusError::LimitsExceeded,
                 QStringLiteral("%1 is not answered: %2 calls of this client wait; send the next one "
                                "when there are answers")
                     .arg(shown(message()), QString::number(waiting))));
    } else {
        m_waiting[caller].push_back({ message(), std::move(answer) });
        if (waiting == 0) {
            m_turns.push_back(caller);
        } else if (waiting == Many) {
            m_callerLeft.addWatchedService(caller);
        }
        scheduleAnswer();
    }
}

void CallQueue::refuse(const QString& error, const QString& text)
{
    m_isRefused = true;
    send(m_answered, m_answered.createErrorReply(error, text));
}

void CallQueue::scheduleAnswer()
{
    if (!m_isScheduled && !m_turns.empty() && m_outflow.hasRoom()) {
        m_isScheduled = true;
        // Posted: behind the calls that have arrived, whose callers take part in the turns.
        QMetaObject::invokeMethod(this, &CallQueue::answerNext, Qt::QueuedConnection);
    }
}

void CallQueue::answerNext()
{
    m_isScheduled = false;
    if (m_turns.empty() || !m_outflow.hasRoom()) {
        return;
    }
    const QString caller = m_turns.front();
    m_turns.pop_front();
    const auto waiting = m_waiting.find(caller);
    const Call call = std::move(waiting->front());
    waiting->pop_front();
    if (waiting->empty()) {
        forget(caller);
    } else {
        m_turns.push_back(caller);
    }
    scheduleAnswer(); // an action may run an event loop of its own
    const QDBusMessage outer = std::exchange(m_answered, call.message);
    const bool isOuterRefused = std::exchange(m_isRefused, false);
    const QVariantList values = call.answer();
    m_answered = outer;
    if (!std::exchange(m_isRefused, isOuterRefused)) {
        send(call.message, call.message.createReply(values), values);
    }
}

void CallQueue::send(const QDBusMessage& call, const QDBusMessage& answer, const QVariantList& values)
{
    if (!call.isReplyRequired() || m_outflow.isStuck()) {
        return;
    }
    qint64 size = WeightOfRefusal;
    for (const QVariant& value : values) {
        size += weight(value);
    }
    if (size <= limits::MessageSize) {
        return m_outflow.send(answer, size);
    }
    m_outflow.send(call.createErrorReply(
                       names::LimitExceeded,
                       QStringLiteral("the answer to %1 has %2 bytes, more than a bus takes (%3); patterns "
                                      "ask for some of the items")
                           .arg(shown(call), QString::number(size), QString::number(limits::MessageSize))),
                   WeightOfRefusal);
}

void CallQueue::dropUnheard(const QString& caller)
{
    // Who asks for no answer may leave before its turn comes.
    auto& calls = m_waiting[caller];
    calls.erase(std::remove_if(calls.begin(), calls.end(),
                               [](const Call& call) { return call.message.isReplyRequired(); }),
                calls.end());
    if (calls.empty()) {
        forget(caller);
    }
}

void CallQueue::forget(const QString& caller)
{
    m_waiting.remove(caller);
    m_turns.erase(std::remove(m_turns.begin(), m_turns.end(), caller), m_turns.end());
    if (m_callerLeft.watchedServices().contains(caller)) {
        m_callerLeft.removeWatchedService(caller);
    }
}

} // namespace ipc

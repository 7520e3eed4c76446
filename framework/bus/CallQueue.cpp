#include "CallQueue.h"

#include "ItemServer.h"
#include "ItemsAdaptor.h"
#include "Names.h"
#include "Outflow.h"
#include "RequestLimits.h"
#include "Weight.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>

namespace ipc {
namespace {

/// So many calls of a caller wait that its end is worth a watch; each costs the bus two messages.
constexpr std::size_t Many = 16;
/// So many calls of callers of whom none waits are answered as they come, in each turn of the event loop.
constexpr int MostAtOnce = 8;
/// A caller's refusals that are told in one of its turns, beside an answer and when none is left.
constexpr int RefusalsBesideAnswer = 1;
constexpr int RefusalsAlone = 64;
constexpr qint64 WeightOfRefusal = 512;
constexpr qint64 WeightOfCall = 2'000; ///< besides its arguments

qint64 weightOfAll(const QVariantList& values, qint64 besides)
{
    return std::accumulate(values.begin(), values.end(), besides,
                           [](qint64 sum, const QVariant& value) { return sum + weight(value); });
}

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

template <auto Method>
void CallQueue::takeOfPatterns(const QStringList& patterns)
{
    take(limits::checkPatterns(patterns), [this, patterns] {
        ItemRecords items;
        const qulonglong serial = (m_server.*Method)(patterns, items);
        return QVariantList{ serial, QVariant::fromValue(items) };
    });
}

qulonglong CallQueue::List(const QStringList& patterns, ItemRecords& items)
{
    Q_UNUSED(items)
    takeOfPatterns<&ItemServer::List>(patterns);
    return 0;
}

qulonglong CallQueue::Watch(const QStringList& patterns, ItemRecords& items)
{
    Q_UNUSED(items)
    takeOfPatterns<&ItemServer::Watch>(patterns);
    return 0;
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
    Call call{ message(), std::move(answer) };
    if (!checked) {
        return send(call.message,
                    call.message.createErrorReply(names::LimitExceeded, checked.error().message));
    }
    const QString name = call.message.service();
    auto caller = std::find_if(m_callers.begin(), m_callers.end(),
                               [&name](const Caller& known) { return known.name == name; });
    const std::size_t waiting = caller == m_callers.end() ? 0 : caller->calls.size();
    if (waiting == 0 && m_atOnce < MostAtOnce && m_outflow.hasRoomForFew()) {
        ++m_atOnce;
        return this->answer(call);
    }
    call.weight = weightOfAll(call.message.arguments(), WeightOfCall);
    if (const QString text = excess(call, waiting); !text.isEmpty()) {
        return refuse(call, text, waiting == 0 ? nullptr : &*caller);
    }
    if (caller == m_callers.end()) {
        caller = m_callers.insert(caller, Caller{ name, {}, {}, false });
    }
    caller->calls.push_back(call);
    m_waiting += call.weight;
    if (waiting == Many) {
        caller->isWatched = true;
        m_callerLeft.addWatchedService(name);
    }
    scheduleAnswer();
}

QString CallQueue::excess(const Call& call, std::size_t waiting) const
{
    if (waiting >= MostOfOne) {
        return QStringLiteral(
                   "%1 is not answered: %2 calls of this client wait; send the next one when there "
                   "are answers")
            .arg(shown(call.message), QString::number(waiting));
    }
    if (m_waiting + call.weight > (waiting == 0 ? 2 * MostOfAll : MostOfAll)) {
        return QStringLiteral("%1 is not answered: %2 bytes of calls of %3 clients wait; send it again later")
            .arg(shown(call.message), QString::number(m_waiting), QString::number(m_callers.size()));
    }
    return {};
}

void CallQueue::refuse(const Call& call, const QString& text, Caller* caller)
{
    const QDBusMessage refusal = call.message.createErrorReply(QDBusError::LimitsExceeded, text);
    const qint64 weight = call.weight - WeightOfCall + WeightOfRefusal;
    if (caller == nullptr || !call.message.isReplyRequired() || m_refused + weight > MostRefusals) {
        return send(call.message, refusal);
    }
    caller->refusals.push_back({ refusal, weight });
    m_refused += weight;
}

void CallQueue::tellRefusals(Caller& caller, int most)
{
    for (; most > 0 && !caller.refusals.empty(); --most) {
        const Refusal refusal = std::move(caller.refusals.front());
        caller.refusals.pop_front();
        m_refused -= refusal.weight;
        m_outflow.send(refusal.message, WeightOfRefusal); // there is room, or it would not be this turn
    }
}

void CallQueue::refuse(const QString& error, const QString& text)
{
    m_isRefused = true;
    send(m_answered, m_answered.createErrorReply(error, text));
}

void CallQueue::scheduleAnswer()
{
    if (!m_isScheduled && m_outflow.hasRoom()) {
        m_isScheduled = true;
        // Posted: behind the calls that have arrived, whose callers take part in the turns.
        QMetaObject::invokeMethod(this, &CallQueue::answerNext, Qt::QueuedConnection);
    }
}

void CallQueue::answerNext()
{
    m_isScheduled = false;
    if (!m_callers.empty() && !m_outflow.hasRoom()) {
        return; // roomMade brings it back here
    }
    m_atOnce = 0;
    if (m_callers.empty()) {
        return;
    }
    Caller& caller = m_callers.front();
    m_callers.splice(m_callers.end(), m_callers, m_callers.begin());
    tellRefusals(caller, caller.calls.empty() ? RefusalsAlone : RefusalsBesideAnswer);
    std::optional<Call> call;
    if (!caller.calls.empty()) {
        call = std::move(caller.calls.front());
        caller.calls.pop_front();
        m_waiting -= call->weight;
    }
    if (caller.calls.empty() && caller.refusals.empty()) {
        if (caller.isWatched) {
            m_callerLeft.removeWatchedService(caller.name);
        }
        m_callers.pop_back();
    }
    scheduleAnswer(); // an action may run an event loop of its own
    if (call) {
        answer(*call);
    }
}

void CallQueue::answer(const Call& call)
{
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
    const qint64 size = weightOfAll(values, WeightOfRefusal);
    if (size <= limits::MessageSize) {
        return m_outflow.send(answer, size);
    }
    QString text = QStringLiteral("the answer to %1 has %2 bytes, more than a bus takes (%3)")
                       .arg(shown(call), QString::number(size), QString::number(limits::MessageSize));
    const auto items = values.value(1).value<ItemRecords>();
    const auto largest =
        std::max_element(items.begin(), items.end(), [](const ItemRecord& one, const ItemRecord& other) {
            return weight(one) < weight(other);
        });
    if (largest != items.end()) {
        text += QStringLiteral("; the largest item is %1 with %2; patterns ask for some of the items")
                    .arg(largest->address, QString::number(weight(*largest)));
    }
    m_outflow.send(call.createErrorReply(names::LimitExceeded, text), WeightOfRefusal);
}

void CallQueue::dropUnheard(const QString& caller)
{
    m_callerLeft.removeWatchedService(caller);
    for (Caller& known : m_callers) {
        if (known.name == caller) {
            // Who asks for no answer may leave before its turn comes.
            known.calls.remove_if([this](const Call& call) {
                const bool isUnheard = call.message.isReplyRequired();
                m_waiting -= isUnheard ? call.weight : 0;
                return isUnheard;
            });
            for (const Refusal& refusal : known.refusals) {
                m_refused -= refusal.weight;
            }
            known.refusals.clear();
        }
    }
    m_callers.remove_if([](const Caller& known) { return known.calls.empty() && known.refusals.empty(); });
}

} // namespace ipc

#include "Commands.h"
#include "Conditions.h"
#include "Ending.h"
#include "ItemNames.h"
#include "JsonText.h"
#include "LiveItems.h"
#include "ValueText.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>

namespace itemctl {
namespace {

constexpr std::chrono::milliseconds DefaultWait{ 10'000 };
/// A server gets this long for an answer however short the wait is.
constexpr std::chrono::milliseconds ShortestAnswer{ 1'000 };

Expected<std::vector<Condition>> parse(const QStringList& texts)
{
    std::vector<Condition> conditions;
    for (const QString& text : texts) {
        const auto condition = Condition::parse(text);
        if (!condition) {
            return condition.failure();
        }
        conditions.push_back(*condition);
    }
    return conditions;
}

/// Conditions, each with the item that it is about.
class Expectations
{
public:
    static Expected<Expectations> of(const std::vector<Condition>& conditions, const LiveItems& items);

    [[nodiscard]] bool hold() const;
    /// What does not hold, and what is there instead.
    [[nodiscard]] QString shortfall() const;
    [[nodiscard]] nlohmann::ordered_json json() const;

private:
    struct Expectation
    {
        Condition condition;
        int position;
    };

    explicit Expectations(const LiveItems& items)
        : m_items(&items)
    {
    }
    [[nodiscard]] bool holds(const Expectation& expectation) const;

    const LiveItems* m_items;
    std::vector<Expectation> m_expectations;
};

Expected<Expectations> Expectations::of(const std::vector<Condition>& conditions, const LiveItems& items)
{
    Expectations expectations(items);
    for (const Condition& condition : conditions) {
        const auto position = findItem(items.items(), condition.item(),
                                       condition.comparesValue() ? Wanted::Valued : Wanted::Any);
        if (!position) {
            return notFound(items.items(), items.servers(), condition.item(), position.failure());
        }
        Condition bound = condition;
        if (condition.comparesValue()) {
            const Item& item = items.items()[*position];
            const auto description = items.servers().clientOf(item).describe(item.address);
            if (!description) {
                return description.error();
            }
            const auto fitting = condition.boundTo(*description);
            if (!fitting) {
                return fitting.failure();
            }
            bound = *fitting;
        }
        expectations.m_expectations.push_back({ bound, *position });
    }
    return expectations;
}

bool Expectations::holds(const Expectation& expectation) const
{
    const Item& item = m_items->items()[expectation.position];
    return m_items->isPresent(item) && expectation.condition.holds(item);
}

bool Expectations::hold() const
{
    return std::all_of(m_expectations.begin(), m_expectations.end(),
                       [this](const Expectation& expectation) { return holds(expectation); });
}

QString Expectations::shortfall() const
{
    QStringList missing;
    for (const Expectation& expectation : m_expectations) {
        if (holds(expectation)) {
            continue;
        }
        const Item& item = m_items->items()[expectation.position];
        QString state = QStringLiteral("server %1 is not on the bus").arg(item.server);
        if (m_items->isPresent(item) && expectation.condition.isAboutValue()) {
            state = QStringLiteral("it is %1").arg(shownValue(item));
        } else if (m_items->isPresent(item)) {
            state = item.applicable ? QStringLiteral("it applies") : QStringLiteral("it does not apply");
        }
        missing += QStringLiteral("%1 does not hold, %2").arg(expectation.condition.text(), state);
    }
    return missing.join(QStringLiteral("; "));
}

nlohmann::ordered_json Expectations::json() const
{
    auto array = nlohmann::ordered_json::array();
    QVector<int> seen;
    for (const Expectation& expectation : m_expectations) {
        if (!seen.contains(expectation.position)) {
            array.push_back(itemJson(m_items->items()[expectation.position]));
        }
        seen += expectation.position;
    }
    return array;
}

/// Ends the event loop after a turn from which on everything holds, when time is over or the bus is lost.
class Wait : public QObject
{
public:
    Wait(const Expectations& expectations, LiveItems& items, Output& output);
    /// @param whole how long the user said, for the message.
    void endAfter(std::chrono::milliseconds left, std::chrono::milliseconds whole);

private:
    const Expectations& m_expectations;
    Ending m_ending;
    QTimer m_timer;
};

Wait::Wait(const Expectations& expectations, LiveItems& items, Output& output)
    : m_expectations(expectations)
    , m_ending(output)
{
    connect(&items, &LiveItems::turnEnded, this, [this] {
        if (m_expectations.hold()) {
            m_ending.reach(ExitStatus::Done);
        }
    });
    connect(&items, &LiveItems::failed, this,
            [&output](const Failure& failure) { output.note(failure.message); });
    connect(&items, &LiveItems::busLost, this, [this] {
        m_ending.reach({ ExitStatus::NoServer, QStringLiteral("the session bus went away") });
    });
}

void Wait::endAfter(std::chrono::milliseconds left, std::chrono::milliseconds whole)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this, whole] {
        m_ending.reach({ ExitStatus::NoAnswer,
                         QStringLiteral("timed out after %1 s: %2")
                             .arg(static_cast<double>(whole.count()) / 1000)
                             .arg(m_expectations.shortfall()) });
    });
    m_timer.start(std::max(left, std::chrono::milliseconds(0)));
}

Expected<Servers> serversOf(const std::vector<Condition>& conditions, const Request& request)
{
    QStringList names;
    for (const Condition& condition : conditions) {
        names += condition.item();
    }
    return serversFor(request, names);
}

} // namespace

ExitStatus runWait(const Request& request, Output& output)
{
    const auto timeout = request.timeout.value_or(DefaultWait);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const auto conditions = parse(request.arguments);
    if (!conditions) {
        return output.fail(conditions.failure());
    }
    auto servers = serversOf(*conditions, request);
    if (!servers) {
        return output.fail(servers.failure());
    }
    servers->setTimeout(std::clamp(timeout, ShortestAnswer, KELClientInterface::DefaultTimeout));
    LiveItems items(std::move(*servers));
    if (const auto started = items.start(); !started) {
        return output.fail(started.failure());
    }
    for (const Failure& failure : items.silent()) {
        output.note(failure.message);
    }
    const auto expectations = Expectations::of(*conditions, items);
    if (!expectations) {
        return output.fail(expectations.failure());
    }
    ExitStatus status = ExitStatus::Done;
    if (!expectations->hold()) {
        Wait wait(*expectations, items, output);
        wait.endAfter(
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()),
            timeout);
        status = static_cast<ExitStatus>(QCoreApplication::exec());
    }
    if (status == ExitStatus::Done && request.json && !output.line(jsonText(expectations->json()))) {
        return ExitStatus::Failed;
    }
    return status;
}

} // namespace itemctl

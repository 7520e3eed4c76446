#include "Commands.h"
#include "Conditions.h"
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
        if (!condition)
            return condition.failure();
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
        if (!position)
            return position.failure();
        Condition bound = condition;
        if (condition.comparesValue()) {
            const Item& item = items.items()[*position];
            const auto description = items.servers().clientOf(item).describe(item.address);
            if (!description)
                return description.error();
            const auto fitting = condition.boundTo(*description);
            if (!fitting)
                return fitting.failure();
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
        if (holds(expectation))
            continue;
        const Item& item = m_items->items()[expectation.position];
        QString state = QStringLiteral("server %1 is not on the bus").arg(item.server);
        if (m_items->isPresent(item) && expectation.condition.isAboutValue())
            state = QStringLiteral("it is %1").arg(shownValue(item));
        else if (m_items->isPresent(item))
            state = item.applicable ? QStringLiteral("it applies") : QStringLiteral("it does not apply");
        missing += QStringLiteral("%1 does not hold, %2").arg(expectation.condition.text(), state);
    }
    return missing.join(QStringLiteral("; "));
}

nlohmann::ordered_json Expectations::json() const
{
    auto array = nlohmann::ordered_json::array();
    QVector<int> seen;
    for (const Expectation& expectation : m_expectations) {
        if (!seen.contains(expectation.position))
            array.push_back(itemJson(m_items->items()[expectation.position]));
        seen += expectation.position;
    }
    return array;
}

void end(ExitStatus status)
{
    QCoreApplication::exit(static_cast<int>(status));
}

/// Waits in the event loop for a turn after which everything holds.
ExitStatus await(const Expectations& expectations, LiveItems& items, std::chrono::milliseconds timeout,
                 Output& output)
{
    QObject scope;
    QObject::connect(&items, &LiveItems::turnEnded, &scope, [&] {
        if (expectations.hold())
            end(ExitStatus::Done);
    });
    QObject::connect(&items, &LiveItems::failed, &scope,
                     [&](const Failure& failure) { output.note(failure.message); });
    QObject::connect(&items, &LiveItems::busLost, &scope, [&] {
        end(output.fail({ ExitStatus::NoServer, QStringLiteral("the session bus went away") }));
    });
    QTimer::singleShot(timeout, Qt::PreciseTimer, &scope, [&] {
        end(output.fail({ ExitStatus::NoAnswer,
                          QStringLiteral("timed out after %1 s: %2")
                              .arg(static_cast<double>(timeout.count()) / 1000)
                              .arg(expectations.shortfall()) }));
    });
    return static_cast<ExitStatus>(QCoreApplication::exec());
}

} // namespace

ExitStatus runWait(const Request& request, Output& output)
{
    const auto conditions = parse(request.arguments);
    if (!conditions)
        return output.fail(conditions.failure());
    QStringList names;
    for (const Condition& condition : *conditions)
        names += condition.item();
    auto servers = serversFor(request, names);
    if (!servers)
        return output.fail(servers.failure());
    const auto timeout = request.timeout.value_or(DefaultWait);
    servers->setTimeout(std::clamp(timeout, ShortestAnswer, KELClientInterface::DefaultTimeout));
    LiveItems items(std::move(*servers));
    if (const auto started = items.start(); !started)
        return output.fail(started.failure());
    const auto expectations = Expectations::of(*conditions, items);
    if (!expectations)
        return output.fail(expectations.failure());
    const ExitStatus status =
        expectations->hold() ? ExitStatus::Done : await(*expectations, items, timeout, output);
    if (status == ExitStatus::Done && request.json && !output.line(jsonText(expectations->json())))
        return ExitStatus::Failed;
    return status;
}

} // namespace itemctl

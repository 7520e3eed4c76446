#include "Commands.h"
#include "Conditions.h"
#include "Ending.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "LiveItems.h"
#include "ValueText.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>

#include <algorithm>

namespace itemctl {
namespace {

constexpr std::chrono::milliseconds DefaultWait{ 10'000 };
/// A server gets this long for an answer however short the wait is.
constexpr std::chrono::milliseconds ShortestAnswer{ 1'000 };

base::Result<std::vector<Condition>> parse(const QStringList& texts)
{
    std::vector<Condition> conditions;
    for (const QString& text : texts) {
        const auto condition = Condition::parse(text);
        if (!condition) {
            return tl::unexpected(condition.error());
        }
        conditions.push_back(*condition);
    }
    return conditions;
}

/// The condition with its value as the item has it.
base::Result<Condition> bind(const Condition& condition, const Item& item, const Servers& servers)
{
    if (!condition.comparesValue()) {
        return condition;
    }
    return resultOf(servers.clientOf(item).describe(item.address))
        .and_then([&condition](const QVariantMap& description) { return condition.boundTo(description); });
}

/// Conditions, each with the item that it is about.
class Expectations
{
public:
    static base::Result<Expectations> of(const std::vector<Condition>& conditions, const LiveItems& items);

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

base::Result<Expectations> Expectations::of(const std::vector<Condition>& conditions, const LiveItems& items)
{
    Expectations expectations(items);
    for (const Condition& condition : conditions) {
        const auto position = findItem(items.items(), condition.item(),
                                       condition.comparesValue() ? Wanted::Valued : Wanted::Any);
        if (!position) {
            return tl::unexpected(
                notFound(items.items(), items.servers(), condition.item(), position.error()));
        }
        auto bound = bind(condition, items.items()[*position], items.servers());
        if (!bound) {
            return tl::unexpected(bound.error());
        }
        expectations.m_expectations.push_back({ std::move(*bound), *position });
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

/// Ends after a turn from which on everything holds, when time is over or the bus is lost.
/// @param whole how long the user said, for the message.
ExitStatus await(const Expectations& expectations, LiveItems& items, Output& output,
                 std::chrono::milliseconds left, std::chrono::milliseconds whole)
{
    Ending ending(items, output);
    QObject::connect(&items, &LiveItems::turnEnded, &ending, [&] {
        if (expectations.hold()) {
            ending.reach(ExitStatus::Done);
        }
    });
    ending.awaitTimeout(std::max(left, std::chrono::milliseconds(0)), [&] {
        ending.reach(base::Error{ QStringLiteral("timed out after %1 s: %2")
                                      .arg(static_cast<double>(whole.count()) / 1000)
                                      .arg(expectations.shortfall()),
                                  base::Failure::NoAnswer });
    });
    return static_cast<ExitStatus>(QCoreApplication::exec());
}

base::Result<Servers> serversOf(const std::vector<Condition>& conditions, const Request& request)
{
    QStringList names;
    for (const Condition& condition : conditions) {
        names += condition.item();
    }
    return serversFor(request, names);
}

} // namespace

base::Result<ExitStatus> wait(const Request& request, Output& output)
{
    const auto timeout = request.timeout.value_or(DefaultWait);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const auto conditions = parse(request.arguments);
    if (!conditions) {
        return tl::unexpected(conditions.error());
    }
    auto servers = serversOf(*conditions, request);
    if (!servers) {
        return tl::unexpected(servers.error());
    }
    servers->setTimeout(std::clamp(timeout, ShortestAnswer, KELClientInterface::DefaultTimeout));
    LiveItems items(std::move(*servers));
    if (const auto started = items.start(); !started) {
        return tl::unexpected(started.error());
    }
    noteSilent(items.servers(), output);
    const auto expectations = Expectations::of(*conditions, items);
    if (!expectations) {
        return tl::unexpected(expectations.error());
    }
    ExitStatus status = ExitStatus::Done;
    if (!expectations->hold()) {
        const auto left = deadline - std::chrono::steady_clock::now();
        status =
            await(*expectations, items, output, std::chrono::ceil<std::chrono::milliseconds>(left), timeout);
    }
    return status == ExitStatus::Done && request.json ? output.line(base::jsonText(expectations->json()))
                                                      : status;
}

} // namespace itemctl

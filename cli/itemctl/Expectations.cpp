#include "Expectations.h"

#include "ItemJson.h"
#include "ItemNames.h"
#include "ValueText.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace itemctl {
namespace {

/// The condition with its value as the item has it.
base::Result<Condition> bind(const Condition& condition, const Item& item, const Servers& servers)
{
    if (!condition.comparesValue()) {
        return condition;
    }
    return resultOf(servers.clientOf(item).describe(item.address))
        .and_then([&condition](const QVariantMap& description) { return condition.boundTo(description); });
}

} // namespace

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

void Expectations::forgetThePresent()
{
    for (Expectation& expectation : m_expectations) {
        expectation.counts = false;
    }
}

void Expectations::noteChange(int position)
{
    for (Expectation& expectation : m_expectations) {
        expectation.counts = expectation.counts || expectation.position == position;
    }
}

bool Expectations::areAbout(int position) const
{
    return std::any_of(m_expectations.begin(), m_expectations.end(),
                       [position](const Expectation& each) { return each.position == position; });
}

bool Expectations::holds(const Expectation& expectation) const
{
    const Item& item = m_items->items()[expectation.position];
    return expectation.counts && m_items->isPresent(item) && expectation.condition.holds(item);
}

bool Expectations::allHold() const
{
    return std::all_of(m_expectations.begin(), m_expectations.end(),
                       [this](const Expectation& expectation) { return holds(expectation); });
}

QString Expectations::stateOf(const Expectation& expectation) const
{
    const Item& item = m_items->items()[expectation.position];
    if (!m_items->isPresent(item)) {
        return QStringLiteral("server %1 is not on the bus").arg(item.server);
    }
    const QString since = expectation.counts ? QString() : QStringLiteral("it has not changed since: ");
    if (expectation.condition.isAboutValue()) {
        return since + QStringLiteral("it is %1").arg(shownValue(item));
    }
    return since + (item.applicable ? QStringLiteral("it applies") : QStringLiteral("it does not apply"));
}

QString Expectations::firstThatHolds() const
{
    const auto found = std::find_if(m_expectations.begin(), m_expectations.end(),
                                    [this](const Expectation& each) { return holds(each); });
    return found == m_expectations.end()
        ? QString()
        : QStringLiteral("%1 holds, %2").arg(found->condition.text(), stateOf(*found));
}

QString Expectations::shortfall() const
{
    QStringList missing;
    for (const Expectation& expectation : m_expectations) {
        if (!holds(expectation)) {
            missing += QStringLiteral("%1 does not hold, %2")
                           .arg(expectation.condition.text(), stateOf(expectation));
        }
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

} // namespace itemctl

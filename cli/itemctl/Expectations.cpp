#include "Expectations.h"

#include "ItemJson.h"
#include "ItemNames.h"
#include "ValueText.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace itemctl {
namespace {

base::Result<QVector<int>> positionsOf(const Condition& condition, const Items& items)
{
    if (condition.isAboutRows()) {
        return findRows(items, condition.item());
    }
    return findItem(items, condition.item(), condition.comparesValue() ? Wanted::Valued : Wanted::Any)
        .map([](int position) { return QVector<int>{ position }; });
}

} // namespace

base::Result<Expectations> Expectations::of(const std::vector<Condition>& conditions, const LiveItems& items)
{
    Expectations expectations(items);
    for (const Condition& condition : conditions) {
        const auto positions = positionsOf(condition, items.items());
        if (!positions) {
            return tl::unexpected(
                notFound(items.items(), items.servers(), condition.item(), positions.error()));
        }
        auto bound = bind(condition, items.items()[positions->first()], items.servers());
        if (!bound) {
            return tl::unexpected(bound.error());
        }
        expectations.m_expectations.push_back({ std::move(*bound), *positions });
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
        expectation.counts = expectation.counts || expectation.positions.contains(position);
    }
}

bool Expectations::areAbout(int position) const
{
    return std::any_of(m_expectations.begin(), m_expectations.end(),
                       [position](const Expectation& each) { return each.positions.contains(position); });
}

bool Expectations::holds(const Expectation& expectation) const
{
    const auto isSo = [&](int position) {
        return expectation.condition.holds(m_items->items()[position]);
    };
    const QVector<int>& positions = expectation.positions;
    return expectation.counts && m_items->isPresent(m_items->items()[positions.first()])
        && (expectation.condition.needsAllRows() ? std::all_of(positions.begin(), positions.end(), isSo)
                                                 : std::any_of(positions.begin(), positions.end(), isSo));
}

bool Expectations::allHold() const
{
    return std::all_of(m_expectations.begin(), m_expectations.end(),
                       [this](const Expectation& expectation) { return holds(expectation); });
}

QString Expectations::rowsOf(const Expectation& expectation) const
{
    QStringList rows;
    for (const int position : expectation.positions) {
        const Item& item = m_items->items()[position];
        if (expectation.condition.isAboutValue() ? !base::rawText(item.value).isEmpty() : item.applicable) {
            rows += QStringLiteral("%1 %2").arg(*item.index).arg(shownValue(item));
        }
    }
    return rows.isEmpty() ? QStringLiteral("no row is set")
                          : QStringLiteral("the rows are %1").arg(rows.join(QStringLiteral(", ")));
}

QString Expectations::stateOf(const Expectation& expectation) const
{
    const Item& item = m_items->items()[expectation.positions.first()];
    if (!m_items->isPresent(item)) {
        return QStringLiteral("server %1 is not on the bus").arg(item.server);
    }
    const QString since = expectation.counts ? QString() : QStringLiteral("it has not changed since: ");
    if (expectation.condition.isAboutRows()) {
        return since + rowsOf(expectation);
    }
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
        for (const int position : expectation.positions) {
            if (!seen.contains(position)) {
                array.push_back(itemJson(m_items->items()[position]));
            }
            seen += position;
        }
    }
    return array;
}

} // namespace itemctl

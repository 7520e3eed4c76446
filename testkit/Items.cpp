// The module's items, as a client sees them.
#include "Waiting.h"
#include "WorldParts.h"
#include "client/ExpectedValue.h"

namespace testkit {

QString SimulatedWorld::text(const QString& item)
{
    const auto value = m_parts->client->get(item);
    return succeed(problemOf(value)) ? value->toString() : QString();
}

bool SimulatedWorld::isApplicable(const QString& item)
{
    const auto found = m_parts->client->list({ QStringLiteral("bluetooth:") + item });
    if (!found) {
        return succeed(found.error().message);
    }
    if (found->items.size() != 1) {
        return succeed(QStringLiteral("bluetooth has no item \"%1\"").arg(item));
    }
    m_problem.clear();
    return found->items.first().properties.value(QStringLiteral("applicable")).toBool();
}

bool SimulatedWorld::set(const QString& item, const QVariant& value)
{
    const auto done = m_parts->client->set(item, value);
    return succeed(problemOf(done));
}

bool SimulatedWorld::trigger(const QString& action, const QString& text)
{
    const auto reply = m_parts->client->trigger(action, text);
    return succeed(problemOf(reply));
}

bool SimulatedWorld::waitForItem(const std::function<bool()>& holds)
{
    if (holds()) {
        return true;
    }
    if (!m_problem.isEmpty()) { // there is no such item, or nobody answers
        return false;
    }
    return m_parts->client->watch()
        && waitUntil(holds, m_parts->patience, [&](QEventLoop& loop, const auto& check) {
               QObject::connect(m_parts->client.get(), &KELClientInterface::changed, &loop, check);
           });
}

std::optional<SimulatedWorld::Expected> SimulatedWorld::expect(const QString& item, const QString& value)
{
    const auto description = m_parts->client->describe(item);
    if (!succeed(problemOf(description))) {
        return {};
    }
    const auto expected = ipc::expectedValue(*description, value);
    if (!expected) {
        m_problem = QStringLiteral("%1: \"%2\" does not fit; %3").arg(item, value, expected.error().message);
        return {};
    }
    return Expected{ item, *description, *expected };
}

bool SimulatedWorld::holds(const Expected& expected)
{
    return text(expected.item) == expected.value.toString() && m_problem.isEmpty();
}

bool SimulatedWorld::has(const QString& item, const QString& value)
{
    const auto expected = expect(item, value);
    return expected && (holds(*expected) || fail(*expected));
}

bool SimulatedWorld::waitFor(const QString& item, const QString& value)
{
    const auto expected = expect(item, value);
    return expected && (waitForItem([&] { return holds(*expected); }) || fail(*expected));
}

bool SimulatedWorld::waitForApplicable(const QString& item, bool applicable)
{
    if (waitForItem([&] { return isApplicable(item) == applicable && m_problem.isEmpty(); })) {
        return true;
    }
    return m_problem.isEmpty()
        ? succeed(QStringLiteral("%1 %2").arg(item, QLatin1String(applicable ? "does not apply" : "applies")))
        : false;
}

bool SimulatedWorld::fail(const Expected& expected)
{
    const auto value = m_parts->client->get(expected.item);
    return succeed(value ? QStringLiteral("%1: expected %2, found %3")
                               .arg(expected.item, ipc::shownValue(expected.description, expected.value),
                                    ipc::shownValue(expected.description, *value))
                         : value.error().message);
}

} // namespace testkit

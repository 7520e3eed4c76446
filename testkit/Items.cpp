// The module's items, as a client sees them.
#include "Waiting.h"
#include "WorldParts.h"

namespace testkit {

QString SimulatedWorld::text(const QString& item)
{
    const auto value = m_parts->client->get(item);
    return succeed(value ? QString() : value.error().message) ? value->toString() : QString();
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
    return succeed(done ? QString() : done.error().message);
}

bool SimulatedWorld::trigger(const QString& action, const QString& text)
{
    const auto reply = m_parts->client->trigger(action, text);
    return succeed(reply ? QString() : reply.error().message);
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

bool SimulatedWorld::waitFor(const QString& item, const QString& value)
{
    return waitForItem([&] { return text(item) == value && m_problem.isEmpty(); }) || fail(item, value);
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

bool SimulatedWorld::fail(const QString& item, const QString& expected, const QString& reason)
{
    const QString value = text(item);
    if (m_problem.isEmpty()) {
        m_problem = QStringLiteral("%1 is \"%2\", not \"%3\"").arg(item, value, expected);
    }
    if (!reason.isEmpty()) {
        m_problem += QStringLiteral("; ") + reason;
    }
    return false;
}

} // namespace testkit

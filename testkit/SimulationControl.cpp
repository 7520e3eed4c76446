// What drives the simulation.
#include "Waiting.h"
#include "WorldParts.h"

#include <QDBusArgument>
#include <QDBusConnection>

namespace testkit {

bool SimulatedWorld::stepUntil(const std::function<bool()>& holds)
{
    constexpr double HalfASecond = 0.5;
    bool held = false;
    const auto isSettled = [&] {
        if (!step(HalfASecond)) {
            return !isOnTheBus(simulationName()); // nobody is there who could bring it about
        }
        held = holds();
        return held;
    };
    static_cast<void>(QTest::qWaitFor(isSettled, static_cast<int>(m_parts->patience.count())));
    if (held) {
        return succeed({});
    }
    return m_problem.isEmpty() ? succeed(QStringLiteral("it did not come about")) : false;
}

bool SimulatedWorld::stepUntil(const QString& item, const QString& value)
{
    const auto expected = expect(item, value);
    if (!expected) {
        return false;
    }
    if (stepUntil([&] { return holds(*expected); })) {
        return true;
    }
    const QString reason = isOnTheBus(simulationName()) ? QString() : QStringLiteral("; ") + m_problem;
    static_cast<void>(fail(*expected));
    m_problem += reason;
    return false;
}

QList<DaemonCall> SimulatedWorld::callsWithArguments() const
{
    QList<DaemonCall> calls;
    const auto records = qdbus_cast<QList<QVariantMap>>(ask("Calls").arguments().value(0));
    for (const QVariantMap& record : records) {
        calls << DaemonCall{ record.value(QStringLiteral("time")).toDouble(),
                             record.value(QStringLiteral("member")).toString(),
                             qdbus_cast<QVariantList>(record.value(QStringLiteral("arguments"))) };
    }
    return calls;
}

QStringList SimulatedWorld::calls() const
{
    QStringList members;
    for (const DaemonCall& call : callsWithArguments()) {
        members << call.member;
    }
    return members;
}

QDBusMessage SimulatedWorld::ask(const char* method, const QVariantList& arguments) const
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(simulationName(), QStringLiteral("/tov/sim/Radio"),
                                       QStringLiteral("tov.sim.Radio1"), QLatin1String(method));
    call.setArguments(arguments);
    return QDBusConnection::systemBus().call(call);
}

bool SimulatedWorld::control(const char* method, const QVariantList& arguments)
{
    const QDBusMessage reply = ask(method, arguments);
    if (reply.type() != QDBusMessage::ErrorMessage) {
        return succeed({});
    }
    return succeed(isOnTheBus(simulationName()) ? reply.errorMessage()
                                                : QStringLiteral("no simulated radio is on the bus"));
}

} // namespace testkit

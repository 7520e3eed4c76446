#include <SimulatedWorld.h>

class LampTest : public QObject
{
    Q_OBJECT
public:
    explicit LampTest(testkit::SimulatedWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void lampIsFound()
    {
        QVERIFY2(m_world.switchOn(), qPrintable(m_world.problem()));
        QVERIFY(m_world.control("AddDevice", { R"({ "address": "0A:00:00:00:00:01", "name": "Lamp" })" }));
        QVERIFY(m_world.trigger("pair", "0A:00:00:00:00:01"));
        QVERIFY2(m_world.stepUntil("pairstate", "100"), qPrintable(m_world.problem()));
        QCOMPARE(m_world.text("pairlistName:0"), QStringLiteral("Lamp"));
    }

private:
    testkit::SimulatedWorld& m_world;
};

BLUETOOTH_TESTKIT_MAIN(LampTest)
#include "LampTest.moc"

// What the test kit understands as the value of an item, and what it says when that does not come.
#include "SimulatedWorld.h"
#include "support/Rows.h"

class TestkitTest : public QObject
{
    Q_OBJECT

public:
    explicit TestkitTest(testkit::SimulatedWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void initTestCase() { TESTKIT_VERIFY(m_world, switchOn()); }
    void cleanup() { m_world.setPatience(std::chrono::seconds(20)); }

    void valuesThatAreThere_data()
    {
        const Rows<QString> row("value");
        for (const char* status : { "3", "On", "on", "BLUETOOTHSTATUS_ON", "03" }) {
            row("status", status);
        }
        for (const char* enabled : { "true", "True", "1" }) {
            row("enabled", enabled);
        }
        row("pairlistConnectionState:0", "Not Connected");
        row("myname", m_world.text("myname"));
        row("pendingpair", "");
    }

    void valuesThatAreThere()
    {
        QFETCH(QString, value);
        TESTKIT_VERIFY(m_world, has(QTest::currentDataTag(), value));
        TESTKIT_VERIFY(m_world, waitFor(QTest::currentDataTag(), value));
        TESTKIT_VERIFY(m_world, stepUntil(QTest::currentDataTag(), value));
    }

    void impossibleValues_data()
    {
        const Rows<QString, QString> row("value", "problem");
        row("status", "Onn", "status: \"Onn\" does not fit; its values are 0 (No Device), 1 (Off)");
        row("enabled", "On", "enabled: \"On\" does not fit; it is true or false");
        row("pairlistConnectionState:0", "Conected", "0 (Not Connected), 1 (Connected)");
        row("scan", "1", "it is an action and has no value");
        row("statsu", "On", "statsu");
    }

    void impossibleValues()
    {
        QFETCH(QString, value);
        QFETCH(QString, problem);
        const QString item = QTest::currentDataTag();
        m_world.setPatience(std::chrono::minutes(10));
        QVERIFY(!m_world.has(item, value));
        QVERIFY(!m_world.waitFor(item, value));
        QVERIFY(!m_world.stepUntil(item, value));
        QVERIFY2(m_world.problem().contains(problem), qPrintable(m_world.problem()));
    }

    void valuesThatDoNotCome_data()
    {
        const Rows<QString, QString> row("value", "problem");
        row("status", "Off", "status: expected 1 (Off), found 3 (On)");
        row("status", "77", "status: expected 77, found 3 (On)");
        row("enabled", "false", "enabled: expected false, found true");
        row("pendingpair", "Lamp", R"(pendingpair: expected "Lamp", found "")");
    }

    void valuesThatDoNotCome()
    {
        QFETCH(QString, value);
        const QString item = QTest::currentDataTag();
        m_world.setPatience(std::chrono::milliseconds(20));
        QVERIFY(!m_world.has(item, value));
        QTEST(m_world.problem(), "problem");
        QVERIFY(!m_world.waitFor(item, value));
        QTEST(m_world.problem(), "problem");
        QVERIFY(!m_world.stepUntil(item, value));
        QTEST(m_world.problem(), "problem");
    }

private:
    testkit::SimulatedWorld& m_world;
};

BLUETOOTH_TESTKIT_MAIN(TestkitTest)
#include "TestkitTest.moc"

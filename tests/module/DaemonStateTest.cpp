// What the daemon's presence and its state do to the items, in the real framework.
#include "DaemonTypes.h"
#include "ModuleWorld.h"
#include "support/Rows.h"

class DaemonStateTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void initTestCase() { registerDaemonTypes(); }
    void init()
    {
        for (const char* number : { "status", "scanState", "pairState" }) {
            m_daemon.answer(number, { 0 });
        }
        SET_ITEM("enabled", false);
    }
    void cleanup() { QVERIFY(m_world.daemonLeaves()); }

    void applicabilityFollowsTheState_data()
    {
        // applicable: of the items below; the lists have two rows in use
        const Rows<bool, int, int, QString> row("enabled", "status", "pairState", "applicable");
        const QString always = "enabled status connectedwifeds isAnyDeviceConnected";
        const QString on = " myname scanstate pairstate confirmationcode scanresultsAddr:1 "
                           "scanresultsName:1 scanresultsSignalStrength:1 pairlistAddr:1 pairlistName:1 "
                           "pairlistConnectionState:1";
        row("off", false, 1, 0, always);
        row("enabled, starting", true, 2, 0, always);
        row("on, not enabled", false, 3, 0, always);
        row("on", true, 3, 0, always + on);
        for (const int state : { 1, 2, 4, 5, 6 }) {
            QTest::addRow("on, pairing in state %d", state)
                << true << 3 << state << always + on + " pendingpair";
        }
        row("on, PIN needed", true, 3, 3, always + on + " pendingpair pinreplycfg");
        row("off, PIN needed", false, 1, 3, always + " pinreplycfg");
        for (const int state : { 100, 200, 201, 202 }) {
            QTest::addRow("on, settled in state %d", state) << true << 3 << state << always + on;
        }
    }

    void applicabilityFollowsTheState()
    {
        QFETCH(const bool, enabled);
        QFETCH(const int, status);
        QFETCH(const int, pairState);
        QFETCH(const QString, applicable);
        QVERIFY(m_world.daemonAppears());
        SET_ITEM("enabled", enabled);
        if (!enabled) {
            // Switching off dropped the daemon.
            QVERIFY(m_world.daemonLeaves());
            QVERIFY(m_world.daemonAppears());
        }
        m_daemon.send("statusChanged", status);
        m_daemon.send("pairStateChanged", pairState);
        m_daemon.send("scanResultsChanged",
                      QVariant::fromValue(ScanResults{ { { 1, 0, "" }, { 2, 0, "" } } }));
        m_daemon.send("pairListChanged", QVariant::fromValue(PairList{ { { 1, "", 0 }, { 2, "", 0 } } }));
        QVERIFY(m_world.settle());
        QStringList ids{
            "myname",    "enabled",          "pinreplycfg", "status",          "scanstate",
            "pairstate", "confirmationcode", "pendingpair", "connectedwifeds", "isAnyDeviceConnected"
        };
        for (const char* column : { "scanresultsAddr:", "scanresultsName:", "scanresultsSignalStrength:",
                                    "pairlistAddr:", "pairlistName:", "pairlistConnectionState:" }) {
            ids << column + QString::number(1) << column + QString::number(2);
        }
        for (const QString& id : ids) {
            COMPARE_APPLICABLE(id, applicable.split(' ').contains(id));
        }
    }

    void aReplacedDaemonIsNotReadAgain()
    {
        QVERIFY(m_world.daemonAppears());
        m_daemon.takeReads();
        ScriptedDaemon second(m_world.world().systemBusAddress());
        QVERIFY(second.appear());
        // A name that changes hands is neither registered nor unregistered; the signals of the new owner
        // count.
        second.send("statusChanged", 3);
        QVERIFY(m_world.settle(second));
        COMPARE_ITEM("status", 3);
        QCOMPARE((second.takeReads() + m_daemon.takeReads()).join(' '), "");
        second.leave();
        QVERIFY(m_world.settle(second));
        COMPARE_APPLICABLE("scan", false);
    }

    void aDaemonThatIsThereFirstIsNotSeen()
    {
        QVERIFY(m_world.daemonAppears());
        QVERIFY(!m_daemon.takeReads().isEmpty());
        QVERIFY(m_world.world().restartHost());
        QCOMPARE(m_world.trigger("scan"), "");
        m_daemon.send("statusChanged", 3);
        m_daemon.leave();
        QVERIFY(m_world.daemonAppears()); // now it is: what came before would have been seen as well
        QCOMPARE(m_daemon.takeReads().count("status"), 1);
        QCOMPARE(callText(m_daemon.takeCalls()), "");
    }
};

MODULE_TEST_MAIN(DaemonStateTest)
#include "DaemonStateTest.moc"

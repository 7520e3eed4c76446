// The items as clients find them before any daemon has come, their limits, and when they apply.
#include "DaemonTypes.h"
#include "ModuleWorld.h"
#include "support/Rows.h"

class PublishedItemsTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void initTestCase() { registerDaemonTypes(); }
    void cleanup() { QVERIFY(m_world.daemonLeaves()); }

    void itemsAreInOrder()
    {
        const auto items = m_world.client().list();
        QVERIFY(items);
        QStringList found;
        for (const ipc::ItemRecord& item : items->items) {
            const QVariant index = item.properties.value("index");
            // Of a list item, the last instance stands for all.
            if (!index.isValid() || index.toInt() == 31) {
                found << item.properties["kind"].toString().left(1) + ' ' + item.properties["id"].toString()
                        + (index.isValid() ? " x32" : "");
            }
        }
        QCOMPARE(items->items.size(), 3 + 6 * 32 + 7 + 16);
        const QString expected =
            "c myname, c enabled, c pinreplycfg, r scanresultsAddr x32, r scanresultsName x32, "
            "r scanresultsSignalStrength x32, r pairlistAddr x32, r pairlistName x32, "
            "r pairlistConnectionState x32, r status, r scanstate, r pairstate, r confirmationcode, "
            "r pendingpair, r connectedwifeds, r isAnyDeviceConnected, a scan, a cancelscan, "
            "a confirmcode, a rejectcode, a pindecline, a killiap, a cycleradio, a pinreply, a pair, "
            "a connectAddr, a disconnectAddr, a unpair, a requestBluetooth, a registerrfcommuuid, "
            "a unregisterrfcommuuid, a sendwifedcmdctlfd";
        VERIFY_SAME(listDifference("items", expected.split(", "), found));
    }

    void pinHasLimits_data()
    {
        const Rows<QString, bool> row("pin", "accepted");
        row("4 digits", "1234", true);
        row("17 digits", "12345678901234567", false);
    }

    void pinHasLimits()
    {
        QFETCH(const QString, pin);
        SET_ITEM("pinreplycfg", "5190");
        QTEST(m_world.set("pinreplycfg", pin), "accepted");
        QTEST(m_world.text("pinreplycfg") == pin, "accepted");
    }

    void applicabilityFollowsTheState_data()
    {
        // applicable: of the items below
        const Rows<bool, int, int, QString> row("enabled", "status", "pairState", "applicable");
        const QString always = "enabled status connectedwifeds isAnyDeviceConnected";
        const QString on = " myname scanstate pairstate confirmationcode";
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
        QVERIFY(m_world.settle());
        for (const char* id :
             { "myname", "enabled", "pinreplycfg", "status", "scanstate", "pairstate", "confirmationcode",
               "pendingpair", "connectedwifeds", "isAnyDeviceConnected" }) {
            COMPARE_APPLICABLE(id, applicable.split(' ').contains(id));
        }
    }

    void freeRowsDoNotApply_data()
    {
        // rows: that apply, of each list
        const Rows<int, int> row("status", "rows");
        row("on", 3, 2);
        row("stopping", 4, 0);
    }

    void freeRowsDoNotApply()
    {
        QFETCH(const int, status);
        QFETCH(const int, rows);
        QVERIFY(m_world.daemonAppears());
        SET_ITEM("enabled", true);
        m_daemon.send("statusChanged", status);
        m_daemon.send("scanResultsChanged",
                      QVariant::fromValue(ScanResults{ { { 1, 0, "" }, { 2, 0, "" } } }));
        m_daemon.send("pairListChanged", QVariant::fromValue(PairList{ { { 1, "", 0 }, { 2, "", 0 } } }));
        QVERIFY(m_world.settle());
        for (const char* id : { "scanresultsAddr", "scanresultsName", "scanresultsSignalStrength",
                                "pairlistAddr", "pairlistName", "pairlistConnectionState" }) {
            for (int i = 0; i < 32; ++i) {
                COMPARE_APPLICABLE(QString("%1:%2").arg(id).arg(i), i < rows);
            }
        }
    }
};

MODULE_TEST_MAIN(PublishedItemsTest)
#include "PublishedItemsTest.moc"

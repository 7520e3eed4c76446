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

    void itemsAreInOrder()
    {
        const auto items = m_world.client().list();
        QVERIFY(items);
        QStringList found;
        for (const ipc::ItemRecord& item : items->items) {
            const QVariant index = item.properties.value("index");
            // Of a list item, the last instance stands for all.
            if (!index.isValid() || index.toInt() == 31)
                found << item.properties["kind"].toString().left(1) + ' ' + item.properties["id"].toString()
                        + (index.isValid() ? " x32" : "");
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
        QCOMPARE(found, expected.split(", "));
    }

    void labelsAndValuesAtFirst_data()
    {
        const Rows<QString, QVariant> row("label", "value");
        row("myname", "Local Name", "");
        row("enabled", "Enabled", false);
        row("pinreplycfg", "PIN", "5190");
        row("scanresultsAddr:0", "Address", "");
        row("scanresultsSignalStrength:31", "Signal Strength", "");
        row("pairlistName:5", "Name", "");
        row("pairlistConnectionState:31", "Connection State", 0);
        row("status", "Status", 0);
        row("scanstate", "Scan State", 0);
        row("pairstate", "Pairing State", 0);
        row("confirmationcode", "Confirmation Code", "");
        row("pendingpair", "Pending Pair", "");
        row("connectedwifeds", "Connected Wi-FEDs", "");
        row("isAnyDeviceConnected", "Is any device connected", false);
        row("killiap", "Kill iAP Connection", {});
        row("disconnectAddr", "Disconnect From Addr", {});
        row("requestBluetooth", "Internal Use", {});
        row("sendwifedcmdctlfd", "Send Wifed CmdCtl FD", {});
    }

    void labelsAndValuesAtFirst()
    {
        const char* id = QTest::currentDataTag();
        QFETCH(const QVariant, value);
        QTEST(m_world.property(id, "label").toString(), "label");
        QCOMPARE(m_world.property(id, "value"), value);
    }

    void enumerations_data()
    {
        const Rows<QStringList> row("expected");
        row("status",
            { "0 BLUETOOTHSTATUS_NODEVICE No Device", "1 BLUETOOTHSTATUS_OFF Off",
              "2 BLUETOOTHSTATUS_STARTING Starting", "3 BLUETOOTHSTATUS_ON On",
              "4 BLUETOOTHSTATUS_STOPPING Stopping" });
        row("scanstate",
            { "0 BLUETOOTHSTATUS_NEVERSCANNED Never Scanned", "1 BLUETOOTHSTATUS_SCANNING Scanning",
              "2 BLUETOOTHSTATUS_SCANDONE Scan Complete" });
        row("pairstate",
            { "0 BLUETOOTHPAIR_NOT_PAIRING Idle", "1 BLUETOOTHPAIR_OUTGOING Pairing",
              "2 BLUETOOTHPAIR_INCOMING Incoming", "3 BLUETOOTHPAIR_PINNEEDED PIN Needed",
              "4 BLUETOOTHPAIR_NEEDCONFIRMATION Need Confirmation",
              "5 BLUETOOTHPAIR_NEEDSIMPLECONFIRMATION Need Verification",
              "6 BLUETOOTHPAIR_FINISHING Finishing", "100 BLUETOOTHPAIR_PAIROKAY Paired",
              "200 BLUETOOTHPAIR_FAILED Failed", "201 BLUETOOTHPAIR_FAILED_AUTH Failed Authentication",
              "202 BLUETOOTHPAIR_FAILED_CONN Failed Connecting" });
        row("pairlistConnectionState:9",
            { "0 BLUETOOTH_CONNECTION_NOT_CONNECTED Not Connected",
              "1 BLUETOOTH_CONNECTION_CONNECTED Connected",
              "2 BLUETOOTH_CONNECTION_IAP_CONNECTED iOS Connected",
              "4 BLUETOOTH_CONNECTION_HEADSET_CONNECTED Headset Connected",
              "8 BLUETOOTH_CONNECTION_FTP_CONNECTED FTP Connected" });
    }

    void enumerations()
    {
        const auto description = m_world.client().describe(QTest::currentDataTag());
        QVERIFY(description);
        QStringList found;
        for (const EnumValue& value : qdbus_cast<ipc::EnumValues>(description->value("enumeration")))
            found << QString("%1 %2 %3").arg(value.value).arg(value.symbol, value.label);
        QTEST(found, "expected");
    }

    void pinHasLimits_data()
    {
        const Rows<QString, bool> row("pin", "accepted");
        row("3 digits", "123", false);
        row("4 digits", "1234", true);
        row("16 digits", "1234567890123456", true);
        row("17 digits", "12345678901234567", false);
        row("letter", "123a", false);
        row("digits within", "x1234x", false);
        row("line end", "1234\n", false);
        row("empty", "", false);
    }

    void pinHasLimits()
    {
        QFETCH(const QString, pin);
        QVERIFY(m_world.set("pinreplycfg", "5190"));
        QTEST(m_world.set("pinreplycfg", pin), "accepted");
        QTEST(m_world.text("pinreplycfg") == pin, "accepted");
    }

    void pinTellsItsLimits()
    {
        const auto pin = m_world.client().describe("pinreplycfg");
        QVERIFY(pin);
        QCOMPARE(pin->value("minimum").toUInt(), 4U);
        QCOMPARE(pin->value("maximum").toUInt(), 16U);
        QCOMPARE(pin->value("regularExpression").toString(), "[0-9]{4,16}");
    }

    void privateConfigs()
    {
        QStringList found;
        for (const char* id : { "myname", "enabled", "pinreplycfg" }) {
            const auto config = m_world.client().describe(id);
            QVERIFY(config);
            if (config->value("private").toBool())
                found << id;
        }
        QCOMPARE(found, (QStringList{ "myname", "pinreplycfg" }));
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
        for (const int state : { 1, 2, 4, 5, 6 })
            QTest::addRow("on, pairing in state %d", state)
                << true << 3 << state << always + on + " pendingpair";
        row("on, PIN needed", true, 3, 3, always + on + " pendingpair pinreplycfg");
        row("off, PIN needed", false, 1, 3, always + " pinreplycfg");
        for (const int state : { 100, 200, 201, 202 })
            QTest::addRow("on, settled in state %d", state) << true << 3 << state << always + on;
    }

    void applicabilityFollowsTheState()
    {
        QFETCH(const bool, enabled);
        QFETCH(const int, status);
        QFETCH(const int, pairState);
        QFETCH(const QString, applicable);
        QVERIFY(m_world.daemonAppears());
        QVERIFY(m_world.set("enabled", enabled));
        if (!enabled) {
            // Switching off dropped the daemon.
            QVERIFY(m_world.daemonLeaves());
            QVERIFY(m_world.daemonAppears());
        }
        m_daemon.send("statusChanged", status);
        m_daemon.send("pairStateChanged", pairState);
        QVERIFY(m_world.settle());
        QStringList found;
        for (const char* id :
             { "myname", "enabled", "pinreplycfg", "status", "scanstate", "pairstate", "confirmationcode",
               "pendingpair", "connectedwifeds", "isAnyDeviceConnected" })
            if (m_world.isApplicable(id))
                found << id;
        QStringList expected = applicable.split(' ');
        found.sort();
        expected.sort();
        QCOMPARE(found.join(' '), expected.join(' '));
        QVERIFY(m_world.daemonLeaves());
    }

    void freeRowsDoNotApply_data()
    {
        // rows: that apply, of each list
        const Rows<int, QStringList> row("status", "rows");
        row("on", 3, { "0", "1" });
        row("stopping", 4, {});
    }

    void freeRowsDoNotApply()
    {
        QFETCH(const int, status);
        QFETCH(const QStringList, rows);
        QVERIFY(m_world.daemonAppears());
        QVERIFY(m_world.set("enabled", true));
        m_daemon.send("statusChanged", status);
        m_daemon.send("scanResultsChanged",
                      QVariant::fromValue(ScanResults{ { { 1, 0, "" }, { 2, 0, "" } } }));
        m_daemon.send("pairListChanged", QVariant::fromValue(PairList{ { { 1, "", 0 }, { 2, "", 0 } } }));
        QVERIFY(m_world.settle());
        for (const char* id : { "scanresultsAddr", "scanresultsName", "scanresultsSignalStrength",
                                "pairlistAddr", "pairlistName", "pairlistConnectionState" }) {
            QStringList found;
            for (int i = 0; i < 32; ++i)
                if (m_world.isApplicable(QString("%1:%2").arg(id).arg(i)))
                    found << QString::number(i);
            QCOMPARE(id + (' ' + found.join(' ')), id + (' ' + rows.join(' ')));
        }
        QVERIFY(m_world.daemonLeaves());
    }
};

MODULE_TEST_MAIN(PublishedItemsTest)
#include "PublishedItemsTest.moc"

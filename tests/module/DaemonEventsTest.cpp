// What each of the daemon's signals does to the items, with payloads of the right type, of types that can be
// converted and of types that cannot.
#include "DaemonTypes.h"
#include "ModuleWorld.h"
#include "support/Rows.h"

namespace {

QVariant entry()
{
    return QVariant::fromValue(PairEntry{ 1, "n", 0 });
}
const QVariant Structure = QVariant::fromValue(PairList{ { { 1, "n", 0 } } });

} // namespace

class DaemonEventsTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void initTestCase()
    {
        registerDaemonTypes();
        QVERIFY(m_world.daemonAppears());
    }

    void itemsFollowSignals_data()
    {
        // "before" is the payload of an earlier signal.
        const Rows<QString, QVariant, QString, QVariant, QVariant> row("signal", "payload", "item", "before",
                                                                       "after");
        // The two texts; what is read back is stored as it came.
        row("code", "confirmationCodeChanged", " 007 ", "confirmationcode", "x", " 007 ");
        row("code, a number", "confirmationCodeChanged", 12, "confirmationcode", "x", "12");
        row("code, none", "confirmationCodeChanged", "", "confirmationcode", "x", "");
        row("code, a list of one text", "confirmationCodeChanged", QStringList{ "a" }, "confirmationcode",
            "x", "a");
        row("code, a structure", "confirmationCodeChanged", entry(), "confirmationcode", "x", "x");
        row("pending", "pendingPairChanged", "Bob", "pendingpair", "x", "Bob");
        row("pending, none", "pendingPairChanged", "", "pendingpair", "x", "");
        row("pending, a structure", "pendingPairChanged", entry(), "pendingpair", "x", "x");
        // The three numbers.
        for (const auto& [signal, item] : { std::pair{ "statusChanged", "status" },
                                            { "scanStateChanged", "scanstate" },
                                            { "pairStateChanged", "pairstate" } }) {
            row("int", signal, 2, item, 1, 2);
            row("unknown number", signal, 77, item, 1, 77);
            row("negative", signal, -1, item, 1, -1);
            row("unsigned", signal, 2U, item, 1, 2);
            row("64 bits", signal, 2LL, item, 1, 2);
            row("text of a number", signal, "2", item, 1, 2);
            row("other text", signal, "On", item, 1, 0);
            row("bool", signal, true, item, 2, 1);
            row("fraction", signal, 2.6, item, 1, 3);
            row("bytes", signal, QByteArray("2"), item, 1, 2);
            row("list of texts", signal, QStringList{ "2" }, item, 1, 1);
            row("structure", signal, entry(), item, 1, 1);
            row("list of structures", signal, Structure, item, 1, 1);
        }
    }

    void itemsFollowSignals()
    {
        QFETCH(const QString, signal);
        QFETCH(const QVariant, payload);
        QFETCH(const QString, item);
        QFETCH(const QVariant, before);
        QFETCH(const QVariant, after);
        m_daemon.send(signal, before);
        QVERIFY(m_world.settle());
        COMPARE_ITEM(item, before);
        m_daemon.send(signal, payload);
        QVERIFY(m_world.settle());
        COMPARE_ITEM(item, after);
    }

    void unknownNameMarker_data()
    {
        const Rows<QString, QString> row("sent", "shown");
        row("alone", "`,.\";00!", "Unknown Name");
        row("twice within a text", "a `,.\";00! b`,.\";00!", "a Unknown Name bUnknown Name");
        row("half of it", "`,.\";00", "`,.\";00");
        row("its beginning doubled", "`,.\";0`,.\";00!", "`,.\";0Unknown Name");
    }

    void unknownNameMarker()
    {
        QFETCH(const QString, sent);
        QFETCH(const QString, shown);
        m_daemon.send("pendingPairChanged", sent);
        // Of this one text alone: everywhere else a name is shown as it came.
        m_daemon.send("scanResultsChanged", QVariant::fromValue(ScanResults{ { { 1, 0, sent } } }));
        QVERIFY(m_world.settle());
        COMPARE_ITEM("pendingpair", shown);
        COMPARE_ITEM("scanresultsName:0", sent);
    }

    void pairingDecidesWhetherToScan_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<bool>("mayScan");
        for (const int settled : { 0, 100, 200, 201, 202 })
            QTest::addRow("%d", settled) << settled << true;
        for (const int underWay : { 1, 2, 3, 4, 5, 6, 99, 101, 199, 203, -1 })
            QTest::addRow("%d", underWay) << underWay << false;
    }

    void pairingDecidesWhetherToScan()
    {
        QFETCH(const int, state);
        QFETCH(const bool, mayScan);
        m_daemon.send("pairStateChanged", mayScan ? 1 : 0);
        m_daemon.send("pairStateChanged", state);
        QVERIFY(m_world.settle());
        COMPARE_ITEM("pairstate", state);
        COMPARE_APPLICABLE("scan", mayScan);
    }

    void slots17And18Alike_data()
    {
        const Rows<QString, QVariant> row("signal", "payload");
        row("available", "wifedCmdCtlSockAvailable", "socket");
        row("closed", "wifedCmdCtlSockClosed", "socket");
        row("available, no text", "wifedCmdCtlSockAvailable", entry());
        row("closed, no text", "wifedCmdCtlSockClosed", entry());
    }

    void slots17And18Alike()
    {
        QFETCH(const QString, signal);
        QFETCH(const QVariant, payload);
        const QString list = QString("list of ") + QTest::currentDataTag();
        m_daemon.answer("wifedsConnected", { list });
        m_daemon.takeReads();
        m_daemon.send(signal, payload);
        QVERIFY(m_world.settle());
        COMPARE_ITEM("connectedwifeds", list);
        QCOMPARE(m_daemon.takeReads(), QStringList{ "wifedsConnected" });
        m_daemon.answer("wifedsConnected", { entry() });
        m_daemon.send(signal, payload);
        QVERIFY(m_world.settle());
        COMPARE_ITEM("connectedwifeds", "");
    }

    void addressesAreLoggedOnly_data()
    {
        const Rows<QString, QVariant, QString> row("signal", "payload", "line");
        row("headset", "headsetConnected", 18446744073709551615ULL, "addr: 18446744073709551615");
        row("headset, a text", "headsetConnected", "none", "addr: 0");
        row("connection", "connectionEstablished", 0x123456789ABCULL, "Connected addr: 20015998343868");
        row("headset, a structure", "headsetConnected", entry(), "");
    }

    void addressesAreLoggedOnly()
    {
        QFETCH(const QString, signal);
        QFETCH(const QVariant, payload);
        QFETCH(const QString, line);
        QVERIFY(m_world.settle());
        const auto all = [this] {
            QStringList values;
            const auto items = m_world.client().list();
            for (const ipc::ItemRecord& item : items->items)
                values += item.address + ' ' + item.properties.value("value").toString();
            return values;
        };
        const QStringList before = all();
        const QString outputBefore = m_world.world().output();
        m_daemon.send(signal, payload);
        QVERIFY(m_world.settle());
        QVERIFY(before.size() > 100);
        QCOMPARE(all(), before);
        QCOMPARE(m_world.world().output().mid(outputBefore.size()), line.isEmpty() ? line : line + '\n');
    }

    void aNewNameWaitsForTheRefresh()
    {
        m_daemon.send("myNameChanged", "new name");
        QVERIFY(m_world.settle());
        COMPARE_ITEM("myname", "");
        QVERIFY(m_world.daemonLeaves());
        m_daemon.answer("myName", { "new name" });
        QVERIFY(m_world.daemonAppears());
        COMPARE_ITEM("myname", "new name");
    }

    void unknownConfigsAreWrittenAllTheSame()
    {
        // The module has neither; the framework says so, once for each.
        m_daemon.send("stateChanged", true);
        m_daemon.send("wifedCmdCtlSockAvailable", "socket");
        QVERIFY(m_world.settle());
        const QString output = m_world.world().output();
        QCOMPARE(output.count("\"state\""), 1);
        QCOMPARE(output.count("\"str\""), 1);
    }
};

MODULE_TEST_MAIN(DaemonEventsTest)
#include "DaemonEventsTest.moc"

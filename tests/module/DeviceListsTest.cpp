// The daemon's lists as 32 rows of three results each.
#include "DaemonTypes.h"
#include "ModuleWorld.h"
#include "support/Rows.h"

namespace {

constexpr int RowCount = 32;

ScanResults scan(int count)
{
    ScanResults list;
    for (int i = 0; i < count; ++i)
        list.entries.append({ static_cast<qulonglong>(i) + 0x10, -i, QString("scan %1").arg(i) });
    return list;
}

PairList pairs(int count)
{
    PairList list;
    for (int i = 0; i < count; ++i)
        list.entries.append({ static_cast<qulonglong>(i) + 0x10, QString("pair %1").arg(i), 0 });
    return list;
}

QString shown(int index, const QString& name, const QString& detail)
{
    return QString("00:00:00:00:00:%1|%2|%3")
        .arg(QString::number(index + 0x10, 16).toUpper().rightJustified(2, '0'), name, detail);
}

} // namespace

class DeviceListsTest : public ModuleTest
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

    void rowsFollowTheList_data()
    {
        const Rows<int, int> row("before", "after");
        row("none", 3, 0);
        row("one", 0, 1);
        row("shrinks", 10, 3);
        row("all rows", 0, 32);
        row("one more than rows", 0, 33);
        row("many more than rows", 1, 40);
    }

    void rowsFollowTheList()
    {
        QFETCH(const int, before);
        QFETCH(const int, after);
        for (const int count : { before, after }) {
            m_daemon.send("scanResultsChanged", QVariant::fromValue(scan(count)));
            m_daemon.send("pairListChanged", QVariant::fromValue(pairs(count)));
        }
        QVERIFY(m_world.settle());
        QStringList scanned;
        QStringList paired;
        for (int i = 0; i < qMin(after, RowCount); ++i) {
            scanned << shown(i, QString("scan %1").arg(i), QString::number(-i));
            paired << shown(i, QString("pair %1").arg(i), "0");
        }
        QCOMPARE(m_world.scanRows(), scanned);
        QCOMPARE(m_world.pairRows(), paired);
        COMPARE_ITEM("isAnyDeviceConnected", false);
    }

    void connectedDevicesBeyondTheRowsDoNotCount()
    {
        PairList list = pairs(40);
        list.entries[32].connectionState = 1;
        list.entries[39].connectionState = 4;
        m_daemon.send("pairListChanged", QVariant::fromValue(list));
        QVERIFY(m_world.settle());
        COMPARE_ITEM("isAnyDeviceConnected", false);
        list.entries[31].connectionState = 8;
        m_daemon.send("pairListChanged", QVariant::fromValue(list));
        QVERIFY(m_world.settle());
        COMPARE_ITEM("isAnyDeviceConnected", true);
        COMPARE_ITEM("pairlistConnectionState:31", "8");
    }

    void odd_data()
    {
        const Rows<QString, QVariant, QStringList> row("signal", "payload", "rows");
        const QString nameless = "12:34:56:78:9A:BC|Unknown Name - 12:34:56:78:9A:BC|";
        const auto scan = [](qulonglong address, int signalStrength, const char* name) {
            return QVariant::fromValue(ScanResults{ { { address, signalStrength, name } } });
        };
        const auto pair = [](qulonglong address, const char* name, uint state) {
            return QVariant::fromValue(PairList{ { { address, name, state } } });
        };
        row("scan: nameless", "scanResultsChanged", scan(0x123456789ABC, -57, ""), { nameless + "-57" });
        row("pairs: nameless", "pairListChanged", pair(0x123456789ABC, "", 0), { nameless + "0" });
        row("high bits", "scanResultsChanged", scan(0xFFFF123456789ABC, 5, "n"), { "12:34:56:78:9A:BC|n|5" });
        row("unknown state", "pairListChanged", pair(0x123456789ABC, "n", 3), { "12:34:56:78:9A:BC|n|3" });
        row("a place holder in the name", "scanResultsChanged", scan(0x10, 0, "%1 %2"),
            { "00:00:00:00:00:10|%1 %2|0" });
    }

    void odd()
    {
        QFETCH(const QString, signal);
        QFETCH(const QVariant, payload);
        m_daemon.send("scanResultsChanged", QVariant::fromValue(scan(2)));
        m_daemon.send("pairListChanged", QVariant::fromValue(pairs(2)));
        m_daemon.send(signal, payload);
        QVERIFY(m_world.settle());
        QTEST(signal == "scanResultsChanged" ? m_world.scanRows() : m_world.pairRows(), "rows");
    }
};

MODULE_TEST_MAIN(DeviceListsTest)
#include "DeviceListsTest.moc"

// The daemon's lists as 32 rows of three results each.
#include "DaemonTypes.h"
#include "ModuleWorld.h"

class DeviceListsTest : public QObject
{
    Q_OBJECT
public:
    explicit DeviceListsTest(ModuleWorld& world)
        : m_world(world)
        , m_daemon(world.daemon())
    {
    }

private Q_SLOTS:
    void initTestCase();
    void rowsFollowTheList_data();
    void rowsFollowTheList();
    void connectedDevicesBeyondTheRowsDoNotCount();
    void odd_data();
    void odd();

private:
    [[nodiscard]] QStringList rows(const QStringList& ids) const;

    ModuleWorld& m_world;
    ScriptedDaemon& m_daemon;
};

namespace {

constexpr int Rows = 32;
const QStringList ScanIds{ "scanresultsAddr", "scanresultsName", "scanresultsSignalStrength" };
const QStringList PairIds{ "pairlistAddr", "pairlistName", "pairlistConnectionState" };
const QString FreeRow = "||0";

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

QString row(int index, const QString& name, const QString& detail)
{
    return QString("00:00:00:00:00:%1|%2|%3")
        .arg(QString::number(index + 0x10, 16).toUpper().rightJustified(2, '0'), name, detail);
}

} // namespace

void DeviceListsTest::initTestCase()
{
    registerDaemonTypes();
    QVERIFY(m_world.daemonAppears());
}

QStringList DeviceListsTest::rows(const QStringList& ids) const
{
    QStringList rows;
    for (int i = 0; i < Rows; ++i) {
        QStringList fields;
        for (const QString& id : ids) {
            // Texts are texts, also those that look like numbers; the connection state alone is an
            // enumeration.
            fields << m_world.text(QString("%1:%2").arg(id).arg(i));
        }
        rows << fields.join('|');
    }
    return rows;
}

void DeviceListsTest::rowsFollowTheList_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");
    QTest::newRow("none") << 3 << 0;
    QTest::newRow("one") << 0 << 1;
    QTest::newRow("shrinks") << 10 << 3;
    QTest::newRow("all rows") << 0 << 32;
    QTest::newRow("one more than rows") << 0 << 33;
    QTest::newRow("many more than rows") << 1 << 40;
}

void DeviceListsTest::rowsFollowTheList()
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
    for (int i = 0; i < Rows; ++i) {
        scanned << (i < after ? row(i, QString("scan %1").arg(i), QString::number(-i)) : FreeRow);
        paired << (i < after ? row(i, QString("pair %1").arg(i), "0") : FreeRow);
    }
    QCOMPARE(rows(ScanIds), scanned);
    QCOMPARE(rows(PairIds), paired);
    QCOMPARE(m_world.value("isAnyDeviceConnected"), QVariant(false));
}

void DeviceListsTest::connectedDevicesBeyondTheRowsDoNotCount()
{
    PairList list = pairs(40);
    list.entries[32].connectionState = 1;
    list.entries[39].connectionState = 4;
    m_daemon.send("pairListChanged", QVariant::fromValue(list));
    QVERIFY(m_world.settle());
    QCOMPARE(m_world.value("isAnyDeviceConnected"), QVariant(false));
    list.entries[31].connectionState = 8;
    m_daemon.send("pairListChanged", QVariant::fromValue(list));
    QTRY_COMPARE(m_world.value("isAnyDeviceConnected"), QVariant(true));
    QCOMPARE(m_world.text("pairlistConnectionState:31"), "8");
}

void DeviceListsTest::odd_data()
{
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QVariant>("payload");
    QTest::addColumn<QString>("firstRow");
    const QString nameless = "12:34:56:78:9A:BC|Unknown Name - 12:34:56:78:9A:BC|";
    const auto scanRow = [](const char* name, const QVariant& payload, const QString& firstRow) {
        QTest::addRow("scan: %s", name) << "scanResultsChanged" << payload << firstRow;
    };
    const auto pairRow = [](const char* name, const QVariant& payload, const QString& firstRow) {
        QTest::addRow("pairs: %s", name) << "pairListChanged" << payload << firstRow;
    };
    scanRow("nameless", QVariant::fromValue(ScanResults{ { { 0x123456789ABC, -57, "" } } }),
            nameless + "-57");
    pairRow("nameless", QVariant::fromValue(PairList{ { { 0x123456789ABC, "", 0 } } }), nameless + "0");
    scanRow("high bits", QVariant::fromValue(ScanResults{ { { 0xFFFF123456789ABC, 5, "n" } } }),
            "12:34:56:78:9A:BC|n|5");
    pairRow("unknown state", QVariant::fromValue(PairList{ { { 0x123456789ABC, "n", 3 } } }),
            "12:34:56:78:9A:BC|n|3");
    scanRow("a place holder in the name", QVariant::fromValue(ScanResults{ { { 0x10, 0, "%1 %2" } } }),
            "00:00:00:00:00:10|%1 %2|0");
}

void DeviceListsTest::odd()
{
    QFETCH(const QString, signal);
    QFETCH(const QVariant, payload);
    const bool isScan = signal == "scanResultsChanged";
    m_daemon.send("scanResultsChanged", QVariant::fromValue(scan(2)));
    m_daemon.send("pairListChanged", QVariant::fromValue(pairs(2)));
    QVERIFY(m_world.settle());
    QCOMPARE(rows(isScan ? ScanIds : PairIds).count(FreeRow), Rows - 2);
    m_daemon.send(signal, payload);
    QVERIFY(m_world.settle());
    const QStringList found = rows(isScan ? ScanIds : PairIds);
    QTEST(found.first(), "firstRow");
    QCOMPARE(found.mid(1).count(FreeRow), Rows - 1);
}

int main(int argc, char** argv)
{
    return runInModuleWorld<DeviceListsTest>(argc, argv);
}

#include "DeviceListsTest.moc"

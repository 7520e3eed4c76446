#include "DaemonTypes.h"
#include "BluetoothIf.h"
#include "support/Payloads.h"
#include "support/PrivateSystemBus.h"

#include <QtTest>

#include <limits>

namespace {

using namespace payloads;

constexpr int MaxInt = std::numeric_limits<int>::max();

} // namespace

class DaemonTypesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void readsLists_data();
    void readsLists();
    void readsEntries_data();
    void readsEntries();
    void readsNothingFromNothing();
    void knowsTheElementTypeWhenWriting();

private:
    QVariant sent(const QVariant& payload, QString* signature = nullptr);

    PrivateSystemBus m_bus;
};

void DaemonTypesTest::initTestCase()
{
    QCOMPARE(m_bus.start(), QString());
    registerDaemonTypes();
    QCOMPARE(QMetaType::type("ScanResults"), qMetaTypeId<ScanResults>());
    QCOMPARE(QMetaType::type("PairEntry"), qMetaTypeId<PairEntry>());
}

// What the proxy's signal hands out after the payload has gone over the bus.
QVariant DaemonTypesTest::sent(const QVariant& payload, QString* signature)
{
    QDBusConnection daemon = QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("daemon"));
    QDBusConnection client = QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("client"));
    BluetoothIf proxy(daemon.baseService(), QStringLiteral("/com/qarn/Bluetooth"), client, nullptr);
    QSignalSpy arrived(&proxy, &BluetoothIf::scanResultsChanged);
    QDBusMessage message = QDBusMessage::createSignal(QStringLiteral("/com/qarn/Bluetooth"),
                                                      QStringLiteral("com.qarn.bluetooth"),
                                                      QStringLiteral("scanResultsChanged"));
    message << QVariant::fromValue(QDBusVariant(payload));
    if (!daemon.send(message) || (arrived.isEmpty() && !arrived.wait())) {
        return {};
    }
    QVariant value = arrived.first().first().value<QDBusVariant>().variant();
    if (signature != nullptr) {
        *signature = qvariant_cast<QDBusArgument>(value).currentSignature();
    }
    return value;
}

void DaemonTypesTest::readsLists_data()
{
    QTest::addColumn<QVariant>("payload");
    QTest::addColumn<QString>("signature");
    QTest::addColumn<ScanResults>("scan");
    QTest::addColumn<PairList>("pairs");

    const QString name = QString::fromUtf8("Küche \xF0\x9F\x8E\xA7");
    const ScanResults scan{ { { 0x123456789ABC, -57, name },
                              { 0xFFFFFFFFFFFFFFFF, std::numeric_limits<int>::min(), {} },
                              { 0, MaxInt, QStringLiteral("x") } } };
    const PairList pairs{ { { 0x123456789ABC, name, 4 }, { 1, {}, std::numeric_limits<uint>::max() } } };
    QTest::newRow("what a scan sends") << QVariant::fromValue(scan) << "a(tis)" << scan << PairList();
    QTest::newRow("what pairing sends") << QVariant::fromValue(pairs) << "a(tsu)" << ScanResults() << pairs;
    QTest::newRow("no scan entries") << QVariant::fromValue(ScanResults()) << "a(tis)" << ScanResults()
                                     << PairList();
    QTest::newRow("no pair entries") << QVariant::fromValue(PairList()) << "a(tsu)" << ScanResults()
                                     << PairList();

    // Missing trailing fields keep their defaults.
    QTest::newRow("addresses alone") << list<T>({ { 7 }, { 8 } }) << "a(t)"
                                     << ScanResults{ { { 7, MaxInt, {} }, { 8, MaxInt, {} } } }
                                     << PairList{ { { 7, {}, 0 }, { 8, {}, 0 } } };
    QTest::newRow("no names") << list<TI>({ { { 7, -3 } } }) << "a(ti)" << ScanResults{ { { 7, -3, {} } } }
                              << PairList();
    QTest::newRow("no states") << list<TS>({ { { 7, name } } }) << "a(ts)" << ScanResults()
                               << PairList{ { { 7, name, 0 } } };
    // Fields that are appended are passed over, from entry to entry.
    QTest::newRow("one field more") << list<TISU>({ { { 7, -3, name, 1 } }, { { 8, -4, {}, 2 } } })
                                    << "a(tisu)" << ScanResults{ { { 7, -3, name }, { 8, -4, {} } } }
                                    << PairList();

    const auto unreadable = [](const char* signature, const QVariant& payload) {
        QTest::newRow(signature) << payload << QString::fromLatin1(signature) << ScanResults() << PairList();
    };
    const TIS entry{ { 7, -3, name } };
    unreadable("a(tsi)", list<TSI>({ { { 7, name, 1 } } }));
    unreadable("a(xis)", list<XIS>({ { { 7, -3, name } } }));
    unreadable("a(sss)", list<SSS>({ { { name, name, name } } }));
    unreadable("a((tis))", list<NestedTIS>({ { { entry } } }));
    unreadable("aa(tis)", list<QList<TIS>>({ { entry } }));
    unreadable("(tis)", one(entry));
    unreadable("(tsu)", one(TSU{ { 7, name, 1 } }));
    unreadable("a{si}", one(QMap<QString, int>{ { name, 1 } }));
    unreadable("a{sv}", QVariantMap{ { name, 1 } });
    unreadable("av", QVariantList{ 1, name, QVariant::fromValue(scan) });
    unreadable("aas", list<QStringList>({ { name }, {} }));
    unreadable("ai", list<int>({ 1, 2, 3 }));
    unreadable("at", list<qulonglong>({ 1, 2, 3 }));
    // Qt unpacks these itself; nothing is left to read.
    const auto unpacked = [](const char* what, const QVariant& payload) {
        QTest::newRow(what) << payload << QString() << ScanResults() << PairList();
    };
    unpacked("as", QStringList{ name, name });
    unpacked("ay", QByteArray("bytes"));
    unpacked("v", QVariant::fromValue(QDBusVariant(QVariant::fromValue(scan))));
    unpacked("s", name);
    unpacked("empty s", QString());
    unpacked("i", 7);
    unpacked("t", 7ULL);
    unpacked("b", true);
    unpacked("d", 0.5);
}

void DaemonTypesTest::readsLists()
{
    QFETCH(QVariant, payload);
    QFETCH(QString, signature);
    QFETCH(ScanResults, scan);
    QFETCH(PairList, pairs);

    QString seenSignature;
    const QVariant arrived = sent(payload, &seenSignature);
    QVERIFY(arrived.isValid());
    QCOMPARE(seenSignature, signature);
    ScanResults readScan{ { { 1, 2, QStringLiteral("from before") } } };
    qvariant_cast<QDBusArgument>(arrived) >> readScan;
    QCOMPARE(readScan, scan);
    PairList readPairs{ { { 1, QStringLiteral("from before"), 2 } } };
    qvariant_cast<QDBusArgument>(arrived) >> readPairs;
    QCOMPARE(readPairs, pairs);
}

void DaemonTypesTest::readsEntries_data()
{
    QTest::addColumn<QVariant>("payload");
    QTest::addColumn<ScanEntry>("scan");
    QTest::addColumn<PairEntry>("pair");

    const ScanEntry scan{ 1, 2, QStringLiteral("before") };
    const PairEntry pair{ 1, QStringLiteral("before"), 2 };
    const QString name = QStringLiteral("new");
    QTest::newRow("(tis)") << one(TIS{ { 7, -3, name } }) << ScanEntry{ 7, -3, name } << pair;
    QTest::newRow("(tsu)") << one(TSU{ { 7, name, 4 } }) << scan << PairEntry{ 7, name, 4 };
    QTest::newRow("(t)") << one(T{ { 7 } }) << ScanEntry{ 7, 2, scan.name } << PairEntry{ 7, pair.name, 2 };
    QTest::newRow("(sss)") << one(SSS{ { name, name, name } }) << scan << pair;
    QTest::newRow("a(tis)") << list<TIS>({ { { 7, -3, name } } }) << scan << pair;
    QTest::newRow("t") << QVariant(7ULL) << scan << pair;
}

void DaemonTypesTest::readsEntries()
{
    QFETCH(QVariant, payload);
    QFETCH(ScanEntry, scan);
    QFETCH(PairEntry, pair);

    const QVariant arrived = sent(payload);
    QVERIFY(arrived.isValid());
    ScanEntry readScan{ 1, 2, QStringLiteral("before") };
    qvariant_cast<QDBusArgument>(arrived) >> readScan;
    QCOMPARE(readScan, scan);
    PairEntry readPair{ 1, QStringLiteral("before"), 2 };
    qvariant_cast<QDBusArgument>(arrived) >> readPair;
    QCOMPARE(readPair, pair);
}

void DaemonTypesTest::readsNothingFromNothing()
{
    const QDBusArgument nothing;
    QDBusArgument beingWritten;
    beingWritten << ScanResults{ { { 7, -3, QStringLiteral("x") } } };
    for (const QDBusArgument& argument : { nothing, qAsConst(beingWritten) }) {
        ScanResults scan{ { { 1, 2, {} } } };
        argument >> scan;
        QCOMPARE(scan, ScanResults());
        PairList pairs{ { { 1, {}, 2 } } };
        argument >> pairs;
        QCOMPARE(pairs, PairList());
        ScanEntry entry;
        argument >> entry;
        QCOMPARE(entry, ScanEntry());
    }
}

void DaemonTypesTest::knowsTheElementTypeWhenWriting()
{
    QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<ScanEntry>()), "(tis)");
    QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<ScanResults>()), "a(tis)");
    QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<PairEntry>()), "(tsu)");
    QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<PairList>()), "a(tsu)");
}

QTEST_GUILESS_MAIN(DaemonTypesTest)
#include "DaemonTypesTest.moc"

#include "DaemonTypes.h"
#include "BluetoothIf.h"
#include "support/Payloads.h"
#include "support/PrivateBus.h"
#include "support/Rows.h"
#include "support/ScriptedDaemon.h"

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
    void initTestCase()
    {
        QCOMPARE(m_bus.start(), QString());
        registerDaemonTypes();
        QCOMPARE(QMetaType::type("ScanResults"), qMetaTypeId<ScanResults>());
        QCOMPARE(QMetaType::type("PairEntry"), qMetaTypeId<PairEntry>());
        m_daemon = std::make_unique<ScriptedDaemon>(m_bus.address());
        QVERIFY(m_daemon->appear());
        m_proxy = std::make_unique<BluetoothIf>("com.qarn.bluetooth", "/com/qarn/Bluetooth",
                                                QDBusConnection::systemBus(), nullptr);
    }

    void readsLists_data()
    {
        const Rows<QVariant, ScanResults, PairList> row("payload", "scan", "pairs");
        const QString name = "Küche \xF0\x9F\x8E\xA7";
        const ScanResults scan{ { { 0x123456789ABC, -57, name },
                                  { 0xFFFFFFFFFFFFFFFF, std::numeric_limits<int>::min(), {} },
                                  { 0, MaxInt, "x" } } };
        const PairList pairs{ { { 0x123456789ABC, name, 4 }, { 1, {}, std::numeric_limits<uint>::max() } } };
        row("what a scan sends", QVariant::fromValue(scan), scan, {});
        row("what pairing sends", QVariant::fromValue(pairs), {}, pairs);
        row("no scan entries", QVariant::fromValue(ScanResults()), {}, {});
        row("no pair entries", QVariant::fromValue(PairList()), {}, {});

        // Missing trailing fields keep their defaults.
        row("a(t)", list<T>({ { 7 }, { 8 } }), { { { 7, MaxInt, {} }, { 8, MaxInt, {} } } },
            { { { 7, {}, 0 }, { 8, {}, 0 } } });
        row("a(ti)", list<TI>({ { { 7, -3 } } }), { { { 7, -3, {} } } }, {});
        row("a(ts)", list<TS>({ { { 7, name } } }), {}, { { { 7, name, 0 } } });
        // Fields that are appended are passed over, from entry to entry.
        row("a(tisu)", list<TISU>({ { { 7, -3, name, 1 } }, { { 8, -4, {}, 2 } } }),
            { { { 7, -3, name }, { 8, -4, {} } } }, {});

        const auto unreadable = [row](const char* signature, const QVariant& payload) {
            row(signature, payload, {}, {});
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
        unreadable("as", QStringList{ name, name });
        unreadable("ay", QByteArray("bytes"));
        unreadable("v", QVariant::fromValue(QDBusVariant(QVariant::fromValue(scan))));
        unreadable("s", name);
        unreadable("empty s", QString());
        unreadable("i", 7);
        unreadable("t", 7ULL);
        unreadable("b", true);
        unreadable("d", 0.5);
    }

    void readsLists()
    {
        QFETCH(QVariant, payload);
        const QVariant arrived = sent(payload);
        QVERIFY(arrived.isValid());
        ScanResults readScan{ { { 1, 2, "from before" } } };
        qvariant_cast<QDBusArgument>(arrived) >> readScan;
        QTEST(readScan, "scan");
        PairList readPairs{ { { 1, "from before", 2 } } };
        qvariant_cast<QDBusArgument>(arrived) >> readPairs;
        QTEST(readPairs, "pairs");
    }

    void readsEntries_data()
    {
        const Rows<QVariant, ScanEntry, PairEntry> row("payload", "scan", "pair");

        const ScanEntry scan{ 1, 2, "before" };
        const PairEntry pair{ 1, "before", 2 };
        const QString name = "new";
        row("(tis)", one(TIS{ { 7, -3, name } }), ScanEntry{ 7, -3, name }, pair);
        row("(tsu)", one(TSU{ { 7, name, 4 } }), scan, PairEntry{ 7, name, 4 });
        row("(t)", one(T{ { 7 } }), ScanEntry{ 7, 2, scan.name }, PairEntry{ 7, pair.name, 2 });
        row("(sss)", one(SSS{ { name, name, name } }), scan, pair);
        row("a(tis)", list<TIS>({ { { 7, -3, name } } }), scan, pair);
        row("t", 7ULL, scan, pair);
    }

    void readsEntries()
    {
        QFETCH(QVariant, payload);
        const QVariant arrived = sent(payload);
        QVERIFY(arrived.isValid());
        ScanEntry readScan{ 1, 2, "before" };
        qvariant_cast<QDBusArgument>(arrived) >> readScan;
        QTEST(readScan, "scan");
        PairEntry readPair{ 1, "before", 2 };
        qvariant_cast<QDBusArgument>(arrived) >> readPair;
        QTEST(readPair, "pair");
    }

    void readsNothingFromNothing()
    {
        const QDBusArgument nothing;
        QDBusArgument beingWritten;
        beingWritten << ScanResults{ { { 7, -3, "x" } } };
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

    // Whoever reads entry by entry gets to the end, whatever the elements are.
    void readsEntriesUntilTheEnd_data()
    {
        const Rows<QVariant, int> row("payload", "count");
        row("a(tis)", list<TIS>({ { { 7, -3, "x" } }, { { 8, 1, {} } } }), 2);
        row("a(sss)", list<SSS>({ { { "a", "b", "c" } } }), 1);
        row("aas", list<QStringList>({ { "a" }, {}, { "b" } }), 3);
        row("av", QVariantList{ 1, "x" }, 2);
        row("ai", list<int>({ 1, 2, 3 }), 3);
    }

    void readsEntriesUntilTheEnd()
    {
        QFETCH(const QVariant, payload);
        const auto argument = qvariant_cast<QDBusArgument>(sent(payload));
        int count = 0;
        argument.beginArray();
        for (ScanEntry entry; !argument.atEnd() && count < 10; ++count) {
            argument >> entry;
        }
        argument.endArray();
        QTEST(count, "count");
    }

    void knowsTheElementTypeWhenWriting()
    {
        QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<ScanEntry>()), "(tis)");
        QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<ScanResults>()), "a(tis)");
        QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<PairEntry>()), "(tsu)");
        QCOMPARE(QDBusMetaType::typeToSignature(qMetaTypeId<PairList>()), "a(tsu)");
    }

private:
    // What the proxy's signal hands out after the payload has gone over the bus.
    QVariant sent(const QVariant& payload)
    {
        QSignalSpy arrived(m_proxy.get(), &BluetoothIf::scanResultsChanged);
        m_daemon->send("scanResultsChanged", payload);
        return arrived.wait() ? arrived.first().first().value<QDBusVariant>().variant() : QVariant();
    }

    PrivateSystemBus m_bus;
    std::unique_ptr<ScriptedDaemon> m_daemon;
    std::unique_ptr<BluetoothIf> m_proxy;
};

QTEST_GUILESS_MAIN(DaemonTypesTest)
#include "DaemonTypesTest.moc"

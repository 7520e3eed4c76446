// Lists of other shapes than the daemon's, as signals and as property values: what the module shows of them,
// and that its host lives on. Qt and libdbus do not check what they are told to read.
#include "DaemonTypes.h"
#include "ModuleWorld.h"
#include "Payloads.h"
#include "support/Rows.h"

using namespace payloads;

using Nesting = Row<void, qulonglong, int, QString, QList<TIS>>;
Q_DECLARE_METATYPE(Nesting)

namespace {

constexpr int Many = 10'000;

template <typename Element>
QVariant many(const Element& element)
{
    QList<Element> elements;
    for (int i = 0; i < Many; ++i) {
        elements.append(element);
    }
    return list(elements);
}

QStringList rows(int count, const QString& row)
{
    QStringList all;
    for (int i = 0; i < count; ++i) {
        all << row;
    }
    return all;
}

QVariant inVariant(const QVariant& value)
{
    return QVariant::fromValue(QDBusVariant(value));
}

} // namespace

class MalformedListsTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void initTestCase()
    {
        registerDaemonTypes();
        m_host = m_world.world().hostPid();
    }
    void init() { QVERIFY(m_world.daemonAppears()); }
    void cleanup() { QVERIFY(m_world.daemonLeaves()); }

    void shapes_data()
    {
        // "scanned" and "paired" are the rows in use when a signal brought the payload; "isProperty" says
        // whether Qt takes it as the property, too: only the exact type.
        const Rows<QVariant, QStringList, QStringList, bool> row("payload", "scanned", "paired",
                                                                 "isProperty");
        const QString name = "n";
        const TIS scan{ { 7, -3, name } };
        const TSU pair{ { 7, name, 4 } };
        const QString address = "00:00:00:00:00:07|";
        const QString nameless = address + "Unknown Name - 00:00:00:00:00:07|";
        const QString scanRow = address + "n|-3";
        const QString pairRow = address + "n|4";
        // What the daemon sends to one of the lists is malformed for the other.
        row("a(tis)", list<TIS>({ scan }), { scanRow }, {}, true);
        row("a(tsu)", list<TSU>({ pair }), {}, { pairRow }, true);
        row("10000 times (tis)", many(scan), rows(32, scanRow), {}, true);
        row("10000 times (tsu)", many(pair), {}, rows(32, pairRow), true);
        // Structures that end early keep their defaults.
        row("a(t)", list<T>({ { 7 }, { 7 } }), rows(2, nameless + "2147483647"), rows(2, nameless + "0"),
            false);
        row("10000 times (t)", many(T{ 7 }), rows(32, nameless + "2147483647"), rows(32, nameless + "0"),
            false);

        // Fields that a later daemon appends are passed over.
        row("a(tisu)", list<TISU>({ { { 7, -3, name, 1 } }, { { 7, -3, name, 1 } } }), rows(2, scanRow), {},
            false);
        row("a(tisa(tis))", list<Nesting>({ { { 7, -3, name, { scan } } } }), { scanRow }, {}, false);

        const auto unreadable = [row](const char* shape, const QVariant& payload) {
            row(shape, payload, {}, {}, false);
        };
        unreadable("(tis)", one(scan));
        unreadable("a{si}", one(QMap<QString, int>{ { name, 1 } }));
        unreadable("av", QVariantList{ 1, name, list<TIS>({ scan }) });
        unreadable("aas", list<QStringList>({ { name }, {} }));
        unreadable("10000 times s", QStringList(QVector<QString>(Many, name).toList()));
        unreadable("v", inVariant(list<TIS>({ scan })));
    }

    void shapes()
    {
        QFETCH(const QVariant, payload);
        QFETCH(const QStringList, scanned);
        QFETCH(const QStringList, paired);
        QFETCH(const bool, isProperty);
        const ScanResults earlierScan{ { { 1, 2, "before" }, { 3, 4, "before" } } };
        m_daemon.send("scanResultsChanged", QVariant::fromValue(earlierScan));
        m_daemon.send("pairListChanged", QVariant::fromValue(PairList{ { { 1, "before", 2 } } }));
        m_daemon.send("scanResultsChanged", payload);
        m_daemon.send("pairListChanged", payload);
        QVERIFY(m_world.settle());
        VERIFY_SAME(m_world.scanDifference(scanned));
        VERIFY_SAME(m_world.pairDifference(paired));

        QVERIFY(m_world.daemonLeaves());
        m_daemon.answer("scanResults", { payload });
        m_daemon.answer("pairList", { payload });
        QVERIFY(m_world.daemonAppears());
        VERIFY_SAME(m_world.scanDifference(isProperty ? scanned : QStringList()));
        VERIFY_SAME(m_world.pairDifference(isProperty ? paired : QStringList()));
        QVERIFY(m_world.world().hostRuns());
        QCOMPARE(m_world.world().hostPid(), m_host);
    }

private:
    pid_t m_host = 0;
};

MODULE_TEST_MAIN(MalformedListsTest)
#include "MalformedListsTest.moc"

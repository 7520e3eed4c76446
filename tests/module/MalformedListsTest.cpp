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
        // What the daemon sends to one of the lists is malformed for the other.
        row("a(tis)", list<TIS>({ scan }), { address + "n|-3" }, {}, true);
        row("a(tsu)", list<TSU>({ pair }), {}, { address + "n|4" }, true);
        // Structures that end early keep their defaults; only so many are shown.
        QStringList first;
        QStringList second;
        for (int i = 0; i < 32; ++i) {
            first << nameless + "2147483647";
            second << nameless + "0";
        }
        row("10000 times (t)", list(QVector<T>(Many, { 7 }).toList()), first, second, false);
        // Fields that a later daemon appends are passed over.
        row("a(tisa(tis))", list<Nesting>({ { { 7, -3, name, { scan } } } }), { address + "n|-3" }, {},
            false);

        row("(tis)", one(scan), {}, {}, false);
        row("10000 times s", QStringList(QVector<QString>(Many, name).toList()), {}, {}, false);
        row("v", QVariant::fromValue(QDBusVariant(list<TIS>({ scan }))), {}, {}, false);
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

// The daemon comes and goes: what the module reads then, and what it does to the items.
#include "DaemonTypes.h"
#include "ModuleWorld.h"
#include "support/Rows.h"

#include <QDir>
#include <QFile>

#include <sys/mount.h>

#include <cerrno>

namespace {

const QString Marker = "/tmp/bluelock_shutdown";

} // namespace

class ServicePresenceTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void initTestCase() { registerDaemonTypes(); }

    void init()
    {
        QFile::remove(Marker); // of a test that failed
        QVERIFY(m_world.daemonLeaves());
        for (const char* number : { "status", "scanState", "pairState" })
            m_daemon.answer(number, { 0 });
        for (const char* text : { "confirmationCode", "myName", "wifedsConnected" })
            m_daemon.answer(text, { QString() });
        m_daemon.answer("scanResults", { QVariant::fromValue(ScanResults()) });
        m_daemon.answer("pairList", { QVariant::fromValue(PairList()) });
        m_daemon.takeReads();
        QVERIFY(m_world.set("enabled", false));
    }

    void otherNamesChangeNothing_data()
    {
        const Rows<QString> row("name");
        row("other letter case", "com.qarn.Bluetooth");
        row("longer", "com.qarn.bluetooth.agent");
        row("shorter", "com.qarn");
    }

    void otherNamesChangeNothing()
    {
        QFETCH(const QString, name);
        QVERIFY(m_daemon.appear(name));
        m_daemon.leave(name);
        // The own name comes behind them: what they caused would have been read by then.
        QVERIFY(m_world.daemonAppears());
        QCOMPARE(m_daemon.takeReads().count("status"), 1);
    }

    void upToFiveReadsOfPairState_data()
    {
        // What successive reads of the pairing state give, and how many the refresh makes: one for the
        // result, then one for each comparison with 0, 100, 200, 201 and 202 until one fits.
        const Rows<QVariantList, int, int> row("pairStates", "reads", "shown");
        row("idle", { 0 }, 2, 0);
        row("paired", { 100 }, 3, 100);
        row("failed", { 200 }, 4, 200);
        row("not authenticated", { 201 }, 5, 201);
        row("not connected", { 202 }, 6, 202);
        row("under way", { 3 }, 6, 3);
        row("settles meanwhile", { 1, 6, 200 }, 4, 1);
        row("settles too late for its comparison", { 1, 6, 6, 100 }, 6, 1);
        row("not a number", { QStringList{ "x" } }, 2, 0);
    }

    void upToFiveReadsOfPairState()
    {
        QFETCH(const QVariantList, pairStates);
        QFETCH(const int, reads);
        m_daemon.answer("pairState", pairStates);
        QVERIFY(m_world.daemonAppears());

        QStringList expected{ "status", "scanState", "pairState", "scanState" };
        for (int i = 1; i < reads; ++i)
            expected << "pairState";
        expected << "confirmationCode"
                 << "myName"
                 << "scanResults"
                 << "pairList";
        QCOMPARE(m_daemon.takeReads(), expected);
        QFETCH(const int, shown);
        COMPARE_ITEM("pairstate", shown);
        // Whatever the pairing state was: the arrival of the daemon ends with it.
        COMPARE_APPLICABLE("scan", true);
    }

    void doubleReadOfScanState()
    {
        // Both values are published, the one after the other: a client that watches sees the second alone,
        // because all of the refresh happens in one turn.
        m_daemon.answer("scanState", { 1, 2, 0 });
        QVERIFY(m_world.daemonAppears());
        QCOMPARE(m_daemon.takeReads().mid(0, 4),
                 (QStringList{ "status", "scanState", "pairState", "scanState" }));
        COMPARE_ITEM("scanstate", 2);
    }

    void publishesWhatItRead()
    {
        m_daemon.answer("status", { 3 });
        m_daemon.answer("scanState", { 2 });
        m_daemon.answer("myName", { "kitchen" });
        m_daemon.answer("scanResults",
                        { QVariant::fromValue(ScanResults{ { { 0x123456789ABC, -57, "a" } } }) });
        m_daemon.answer("pairList", { QVariant::fromValue(PairList{ { { 0xA1B2C3D4E5F6, "b", 2 } } }) });
        m_daemon.answer("pendingPair", { "somebody" });
        m_daemon.answer("confirmationCode", { "123456" });
        QVERIFY(m_world.daemonAppears());
        COMPARE_ITEM("status", 3);
        COMPARE_ITEM("scanstate", 2);
        COMPARE_ITEM("myname", "kitchen");
        COMPARE_ITEM("confirmationcode", "123456");
        COMPARE_ITEM("pendingpair", "");
        QCOMPARE(m_world.scanRows(), QStringList{ "12:34:56:78:9A:BC|a|-57" });
        QCOMPARE(m_world.pairRows(), QStringList{ "A1:B2:C3:D4:E5:F6|b|2" });
        COMPARE_ITEM("isAnyDeviceConnected", true);
    }

    void unreadablePropertiesReadAsNothing()
    {
        m_daemon.answer("scanResults", { QVariant::fromValue(ScanResults{ { { 1, 1, "stale" } } }) });
        QVERIFY(m_world.daemonAppears());
        COMPARE_ITEM("scanresultsName:0", "stale");
        QVERIFY(m_world.daemonLeaves());

        m_daemon.answer("status", {});
        m_daemon.answer("myName", { 5 });
        m_daemon.answer("scanResults", { QStringList{ "stale" } });
        m_daemon.answer("pairList", { 7 });
        QVERIFY(m_world.daemonAppears());
        COMPARE_ITEM("status", 0);
        COMPARE_ITEM("myname", "");
        QCOMPARE(m_world.scanRows() + m_world.pairRows(), QStringList());
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
        QCOMPARE(second.reads() + m_daemon.reads(), QStringList());
        second.leave();
        QVERIFY(m_world.settle(second));
        COMPARE_APPLICABLE("scan", false);
    }

    void leavingResetsTheResults()
    {
        m_daemon.answer("status", { 3 });
        m_daemon.answer("scanState", { 2 });
        m_daemon.answer("pairState", { 5 });
        m_daemon.answer("myName", { "kitchen" });
        m_daemon.answer("confirmationCode", { "123456" });
        m_daemon.answer("wifedsConnected", { "one" });
        PairList pairs;
        for (uint i = 1; i <= 40; ++i)
            pairs.entries.append({ i, "n", i });
        m_daemon.answer("pairList", { QVariant::fromValue(pairs) });
        QVERIFY(m_world.daemonAppears());
        m_daemon.send("pendingPairChanged", "somebody");
        m_daemon.send("wifedCmdCtlSockAvailable", "socket");
        QVERIFY(m_world.settle());
        COMPARE_ITEM("connectedwifeds", "one");

        QVERIFY(m_world.daemonLeaves());
        for (const char* number : { "status", "scanstate", "pairstate" })
            COMPARE_ITEM(number, 0);
        for (const char* text : { "confirmationcode", "pendingpair", "connectedwifeds" })
            COMPARE_ITEM(text, "");
        COMPARE_APPLICABLE("scan", false);
        QCOMPARE(m_world.pairRows() + m_world.scanRows(), QStringList());
        COMPARE_ITEM("isAnyDeviceConnected", false);
        COMPARE_ITEM("myname", "kitchen");
    }

    void markerKeepsTheSetting_data()
    {
        const Rows<QString, bool> row("marker", "staysEnabled");
        row("none", "", false);
        row("file", "file", true);
        row("link to a file", "link", true);
    }

    void markerKeepsTheSetting()
    {
        QFETCH(const QString, marker);
        const QString path = Marker;
        QFile target(marker == "link" ? QString("/tmp/target") : path);
        if (!marker.isEmpty())
            QVERIFY(target.open(QIODevice::WriteOnly));
        if (marker == "link")
            QVERIFY(QFile::link(target.fileName(), path));

        QVERIFY(m_world.daemonAppears());
        QVERIFY(m_world.set("enabled", true));
        QVERIFY(m_world.daemonLeaves());
        QFETCH(const bool, staysEnabled);
        COMPARE_ITEM("enabled", staysEnabled);
        QVERIFY(!QFileInfo::exists(path) && !QFileInfo(path).isSymLink());
        QFile::remove("/tmp/target");
    }

    void markerThatIsADirectory()
    {
        QVERIFY(QDir().mkpath(Marker + "/work"));
        QVERIFY(m_world.daemonAppears());
        QVERIFY(m_world.set("enabled", true));
        QVERIFY(m_world.daemonLeaves());
        COMPARE_ITEM("enabled", false);
        QVERIFY(QDir(Marker + "/work").exists());
        QVERIFY(QDir(Marker).removeRecursively());
    }

    void markerThatCannotBeRemoved()
    {
        QFile marker(Marker);
        QVERIFY(marker.open(QIODevice::WriteOnly));
        // A file that something is mounted on stays, whoever wants to remove it.
        if (mount("/etc/passwd", qPrintable(Marker), nullptr, MS_BIND, nullptr) != 0) {
            QVERIFY(marker.remove());
            // NOLINTNEXTLINE(clang-diagnostic-gnu-zero-variadic-macro-arguments): QSKIP takes no more
            QSKIP("nothing can be mounted here, so that no file resists its removal");
        }
        QVERIFY(m_world.daemonAppears());
        QVERIFY(m_world.set("enabled", true));
        QVERIFY(m_world.daemonLeaves());
        // It counts all the same.
        COMPARE_ITEM("enabled", true);
        const QString line = QString("Could not remove bluetooth shutdown lockfile. Errno: %1").arg(EBUSY);
        QCOMPARE(m_world.countInOutput(line), 1);
        QCOMPARE(umount(qPrintable(Marker)), 0);
        QVERIFY(marker.remove());
    }

    void aDaemonThatIsThereFirstIsNotSeen()
    {
        QVERIFY(m_world.daemonAppears());
        QVERIFY(!m_daemon.takeReads().isEmpty());
        QCOMPARE(m_world.world().restartHost(), QString());
        QCOMPARE(m_world.trigger("scan"), "");
        m_daemon.send("statusChanged", 3);
        m_daemon.leave();
        QVERIFY(m_world.daemonAppears()); // now it is: what came before would have been seen as well
        QCOMPARE(m_daemon.takeReads().count("status"), 1);
        QCOMPARE(m_daemon.takeCalls(), QList<ScriptedDaemon::Call>());
    }
};

MODULE_TEST_MAIN(ServicePresenceTest)
#include "ServicePresenceTest.moc"

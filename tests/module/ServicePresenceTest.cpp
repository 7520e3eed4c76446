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
        m_daemon.leave();
        QTRY_VERIFY(!m_world.isApplicable("status") || m_world.value("status").toInt() == 0);
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

    void publishesWhatItRead()
    {
        m_daemon.answer("status", { 3 });
        m_daemon.answer("scanState", { 2 });
        m_daemon.answer("myName", { "kitchen" });
        m_daemon.answer("scanResults",
                        { QVariant::fromValue(ScanResults{ { { 0x123456789ABC, -57, "a" } } }) });
        m_daemon.answer("pairList", { QVariant::fromValue(PairList{ { { 0xA1B2C3D4E5F6, "b", 2 } } }) });
        m_daemon.answer("pendingPair", { "somebody" });
        QVERIFY(m_world.daemonAppears());
        QCOMPARE(m_world.value("status"), QVariant(3));
        QCOMPARE(m_world.value("scanstate"), QVariant(2));
        QCOMPARE(m_world.text("myname"), "kitchen");
        QCOMPARE(m_world.text("pendingpair"), "");
        QCOMPARE(m_world.scanRows(), QStringList{ "12:34:56:78:9A:BC|a|-57" });
        QCOMPARE(m_world.pairRows(), QStringList{ "A1:B2:C3:D4:E5:F6|b|2" });
        QCOMPARE(m_world.value("isAnyDeviceConnected"), QVariant(true));
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
        QTRY_COMPARE(m_world.value("status"), QVariant(3));
        QCOMPARE(second.reads() + m_daemon.reads(), QStringList());
        second.leave();
        QTRY_VERIFY(!m_world.isApplicable("scan"));
    }

    void leavingResetsTheResults()
    {
        m_daemon.answer("status", { 3 });
        m_daemon.answer("scanState", { 2 });
        m_daemon.answer("pairState", { 5 });
        m_daemon.answer("myName", { "kitchen" });
        m_daemon.answer("wifedsConnected", { "one" });
        PairList pairs;
        for (uint i = 1; i <= 40; ++i)
            pairs.entries.append({ i, "n", i });
        m_daemon.answer("pairList", { QVariant::fromValue(pairs) });
        QVERIFY(m_world.daemonAppears());
        m_daemon.send("pendingPairChanged", "somebody");
        m_daemon.send("wifedCmdCtlSockAvailable", "socket");
        QVERIFY(m_world.settle());
        QCOMPARE(m_world.text("connectedwifeds"), "one");

        QVERIFY(m_world.daemonLeaves());
        for (const char* number : { "status", "scanstate", "pairstate" })
            QCOMPARE(m_world.value(number), QVariant(0));
        for (const char* text : { "confirmationcode", "pendingpair", "connectedwifeds" })
            QCOMPARE(m_world.text(text), "");
        QCOMPARE(m_world.pairRows() + m_world.scanRows(), QStringList());
        QCOMPARE(m_world.value("isAnyDeviceConnected"), QVariant(false));
        QCOMPARE(m_world.text("myname"), "kitchen");
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
        QTEST(m_world.value("enabled").toBool(), "staysEnabled");
        QVERIFY(!QFileInfo::exists(path) && !QFileInfo(path).isSymLink());
        QFile::remove("/tmp/target");
    }

    void aDaemonThatIsThereFirstIsNotSeen()
    {
        QVERIFY(m_daemon.appear());
        QTRY_VERIFY(!m_daemon.reads().isEmpty());
        m_daemon.takeReads();
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

// The daemon comes and goes: what the module reads then, and what it does to the items.
#include "DaemonTypes.h"
#include "ModuleWorld.h"
#include "support/Rows.h"

#include <QFile>
#include <QFileInfo>

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
        QVERIFY(m_world.daemonLeaves());
        for (const char* number : { "status", "scanState", "pairState" }) {
            m_daemon.answer(number, { 0 });
        }
        for (const char* text : { "confirmationCode", "myName", "wifedsConnected" }) {
            m_daemon.answer(text, { QString() });
        }
        m_daemon.answer("scanResults", { QVariant::fromValue(ScanResults()) });
        m_daemon.answer("pairList", { QVariant::fromValue(PairList()) });
        m_daemon.takeReads();
        SET_ITEM("enabled", false);
    }

    void cleanup()
    {
        QFile::remove(Marker);
        QFile::remove("/tmp/target");
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
        QCOMPARE((second.reads() + m_daemon.reads()).join(' '), "");
        second.leave();
        QVERIFY(m_world.settle(second));
        COMPARE_APPLICABLE("scan", false);
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
        if (!marker.isEmpty()) {
            QVERIFY(target.open(QIODevice::WriteOnly));
        }
        if (marker == "link") {
            QVERIFY(QFile::link(target.fileName(), path));
        }

        QVERIFY(m_world.daemonAppears());
        SET_ITEM("enabled", true);
        QVERIFY(m_world.daemonLeaves());
        QFETCH(const bool, staysEnabled);
        COMPARE_ITEM("enabled", staysEnabled);
        QVERIFY(!QFileInfo::exists(path) && !QFileInfo(path).isSymLink());
    }

    void aDaemonThatIsThereFirstIsNotSeen()
    {
        QVERIFY(m_world.daemonAppears());
        QVERIFY(!m_daemon.takeReads().isEmpty());
        QVERIFY(m_world.world().restartHost());
        QCOMPARE(m_world.trigger("scan"), "");
        m_daemon.send("statusChanged", 3);
        m_daemon.leave();
        QVERIFY(m_world.daemonAppears()); // now it is: what came before would have been seen as well
        QCOMPARE(m_daemon.takeReads().count("status"), 1);
        QCOMPARE(callText(m_daemon.takeCalls()), "");
    }
};

MODULE_TEST_MAIN(ServicePresenceTest)
#include "ServicePresenceTest.moc"

#include "Mechanisms.h"

#include "support/Rows.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

bool isGone(pid_t pid)
{
    return pid > 0 && kill(pid, 0) != 0;
}

} // namespace

/// How the program behind ./run ends, and what it leaves.
class WorldEndsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { REQUIRE_WORLD }

    void nothingStaysBehind_data() { addMechanisms(); }

    void nothingStaysBehind()
    {
        FETCH_MECHANISM
        const QTemporaryDir runtime("/var/tmp/runtime-XXXXXX");
        QVERIFY(QFile::setPermissions(runtime.path(), QFile::Permissions(0x7777)));
        Run how{ only(mechanism), ordinaryUser, "/" };
        how.environment.emplace_back("XDG_RUNTIME_DIR", runtime.path());
        // A job, a daemon with a session of its own, and, once, one that does not hear SIGTERM (it costs a
        // grace); and those of the world.
        const bool deaf = mechanism == "namespace" && !ordinaryUser;
        const QString script =
            QString("sleep 1000 >/dev/null 2>&1 & echo $!; mkfifo /tmp/said\n"
                    "(setsid sh -c 'echo $$; exec >/tmp/said 2>&-; echo; sleep 1000 >&- & wait' &)\n"
                    "read nothing </tmp/said\n"
                    "(setsid sh -c '%1 echo $$; exec >/tmp/said 2>&-; echo; exec sleep 1000 >&-' &)\n"
                    "read nothing </tmp/said\n"
                    "for bus in SYSTEM SESSION; do eval address=\\$DBUS_${bus}_BUS_ADDRESS\n"
                    "dbus-send --bus=$address --print-reply=literal --dest=org.freedesktop.DBus / "
                    "org.freedesktop.DBus.GetConnectionUnixProcessID string:org.freedesktop.DBus "
                    "| tr -dc '0-9\\n' | sed s/^32//; done\n")
                .arg(deaf ? "trap \"\" TERM;" : QString());
        const Finished world = run(worldProgram(), withStandIn({ "--", "sh", "-c", script }), how);
        QCOMPARE(world.err, QString());
        QCOMPARE(world.status, 0);
        const QStringList processes = world.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(processes.size(), 5);
        for (const QString& process : processes) {
            QVERIFY2(isGone(process.toInt()), qPrintable(process));
        }
        QCOMPARE(QDir(runtime.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList());
    }

    void killedProotLeavesNoFolder()
    {
        REQUIRE_MECHANISM("proot", false)
        const QString script = "sed -n 's/^TracerPid:.//p' /proc/self/status | tee /tmp/proot\n"
                               "kill -KILL $(cat /tmp/proot)";
        const Finished world =
            run(worldProgram(), withStandIn({ "--", "sh", "-c", script }), { only("proot"), false, "/" });
        QCOMPARE(world.status, 128 + SIGKILL);
        const QString proot = world.out.trimmed();
        QDir tmp("/tmp");
        QCOMPARE(tmp.entryList({ "proot-" + proot + "-*" }), QStringList());
        for (const QString& loader : tmp.entryList({ "prooted-" + proot + "-*" })) { // its own leftover
            QVERIFY(tmp.remove(loader));
        }
    }

    void signalEndsTheWorld_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("mechanism");
        for (const char* mechanism : { "namespace", "proot" }) {
            for (const int number : { SIGTERM, SIGHUP, SIGINT }) {
                QTest::addRow("%s, signal %d", mechanism, number) << number << mechanism;
            }
        }
    }

    void signalEndsTheWorld()
    {
        QFETCH(int, number);
        QFETCH(QString, mechanism);
        REQUIRE_MECHANISM(mechanism, false)
        QProcess world;
        start(world, worldProgram(), withStandIn({ "--", "sh", "-c", "echo $$; exec sleep 1000" }),
              { only(mechanism), false, {} });
        QVERIFY(world.waitForReadyRead());
        const pid_t command = world.readLine().trimmed().toInt();
        kill(static_cast<pid_t>(world.processId()), number);
        QVERIFY(world.waitForFinished());
        QCOMPARE(world.exitStatus(), QProcess::NormalExit);
        QCOMPARE(world.exitCode(), 128 + number);
        QCOMPARE(world.readAllStandardError(), QByteArray());
        QVERIFY(isGone(command));
    }

    void canBeInterruptedWhileItStarts()
    {
        const QTemporaryDir folder("/var/tmp/log-XXXXXX");
        QFile log(folder.filePath("world.log"));
        QProcess world;
        start(world, worldProgram(), withStandIn({ "--log", log.fileName(), "--", "true" }),
              { { { "STAND_IN_HOST", "hangs" } }, false, {} });
        QTRY_VERIFY(log.isOpen() || log.open(QIODevice::ReadOnly));
        QByteArray said;
        QTRY_VERIFY((said += log.readAll()).contains("host: state in"));
        kill(static_cast<pid_t>(world.processId()), SIGTERM);
        QVERIFY(world.waitForFinished());
        QCOMPARE(world.exitCode(), 128 + SIGTERM);
        QVERIFY(world.readAllStandardError().contains("interrupted while"));
    }
};

QTEST_GUILESS_MAIN(WorldEndsTest)
#include "WorldEndsTest.moc"

// hostctl in a world with a stand-in of the host.
#include "Mechanisms.h"

#include "support/Rows.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

/// What scripts use: where the host is, and how its next run misbehaves.
const QString Words =
    "pid() { busctl --user call org.freedesktop.DBus / org.freedesktop.DBus GetConnectionUnixProcessID s "
    "tov.base.bluetoothlauncher 2>/dev/null | cut -d' ' -f2 | grep .; }\n"
    "is() { until grep -q \"^State:.$1\" /proc/$(pid)/status; do :; done; }\n"
    "next() { echo $1 >state/behaviour; }\n"
    "set -e; first=$(pid)\n";

} // namespace

class HostControlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QFile host(m_folder.filePath("host"));
        QVERIFY(host.open(QIODevice::WriteOnly));
        host.write("#!/bin/sh\n[ ! -e \"$2/behaviour\" ] || export STAND_IN_HOST=$(cat \"$2/behaviour\")\n"
                   "exec "
                   + besideTest("stand_in_host").toLocal8Bit() + " \"$@\"\n");
        host.setPermissions(QFile::Permissions(0x7777));
    }

    void init() { QFile::remove(m_folder.filePath("state/behaviour")); }

    void doesIt_data()
    {
        const Rows<QString, int, QString> row("script", "status", "error");
        row("restart", "hostctl restart; [ $first != $(pid) ]; grep -q 'shut down in order' log", 0, "");
        row("kill and start", "hostctl kill; ! pid; hostctl start; pid; ! grep 'in order' log", 0, "");
        row("stop", "hostctl stop; ! pid; grep -q 'shut down in order' log", 0, "");
        row("what is so already", "hostctl start; [ $first = $(pid) ]; hostctl stop; hostctl stop", 0, "");
        row("restart of none", "hostctl kill; hostctl restart; pid", 0, "");
        row("freeze and thaw", "hostctl freeze; is T; hostctl thaw; is S; [ $first = $(pid) ]", 0, "");
        row("restart of a frozen one", "hostctl freeze; hostctl restart; [ $first != $(pid) ]; is S", 0, "");
        row("kill of none", "hostctl kill; hostctl kill", 1,
            "hostctl: the host does not run; \"hostctl start\" starts it\n");
        row("a host that does not come back", "next fails; hostctl restart", 1,
            "hostctl: the server %1 ended with status 3 before it was ready\n"
            "bluetoothworld: the host ended by itself while sh ran\n");
        row("one after the other",
            "next hangs; hostctl restart & until ! pid; do :; done; "
            "until hostctl stop 2>&1 | grep -q 'another hostctl is at work'; do :; done; kill $!",
            0, "");
        row("unknown", "hostctl reboot", 2,
            "hostctl: \"reboot\" is no subcommand; there are restart, stop, start, kill, freeze, thaw; see "
            "hostctl --help\n");
        row("mistyped", "hostctl restrat", 2,
            "hostctl: \"restrat\" is no subcommand; did you mean \"restart\"? See hostctl --help\n");
        row("no world", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent hostctl stop", 5,
            "hostctl: there is no world here; it works in what \"./run -- COMMAND\" starts\n");
    }

    void doesIt()
    {
        REQUIRE_MECHANISM("namespace", false)
        QFETCH(const QString, script);
        QFETCH(const QString, error);
        QElapsedTimer time;
        time.start();
        const Finished world = run(worldProgram(),
                                   { "--radio", "/bin/true", "--host", m_folder.filePath("host"), "--state",
                                     "state", "--log", "log", "--", "sh", "-c", Words + script },
                                   { only("namespace"), false, m_folder.path() });
        QCOMPARE(world.err, error.contains("%1") ? error.arg(m_folder.filePath("host")) : error);
        QTEST(world.status, "status");
        // A host that is not ready yet is not waited for when the command has ended.
        QVERIFY(time.elapsed() < 20'000);
    }

    void prootCannotFreeze()
    {
        REQUIRE_MECHANISM("proot", false)
        const Finished world = run(worldProgram(),
                                   { "--radio", "/bin/true", "--host", m_folder.filePath("host"), "--", "sh",
                                     "-c", "hostctl restart && hostctl freeze" },
                                   { only("proot"), false, "/" });
        QVERIFY2(world.err.contains("proot lets no process be stopped"), qPrintable(world.err));
        QCOMPARE(world.status, 1);
    }

private:
    const QTemporaryDir m_folder{ "/var/tmp/hostctl-XXXXXX" };
};

QTEST_GUILESS_MAIN(HostControlTest)
#include "HostControlTest.moc"

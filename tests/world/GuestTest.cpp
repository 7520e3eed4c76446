#include "Descendants.h"
#include "World.h"
#include "support/Programs.h"
#include "support/PseudoTerminal.h"
#include "support/Rows.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

QStringList guest(const QStringList& command)
{
    return QStringList{ world::World::binFolder() + "/bluetoothworld", "--radio", "guest", "--" } + command;
}

QStringList inShell(const QString& script, const QStringList& words)
{
    return QStringList{ "-c", script, "sh" } + words;
}

/// The processes of the emulated machines below us.
std::vector<pid_t> machines()
{
    std::vector<pid_t> found;
    for (const pid_t pid : world::descendants(getpid())) {
        if (QFile::symLinkTarget(QString("/proc/%1/exe").arg(pid)).contains("qemu-system")) {
            found.push_back(pid);
        }
    }
    return found;
}

} // namespace

/// A command in the emulated machine is to its caller as one outside.
class GuestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        world::adoptOrphans();
        const Finished first = run("sh", inShell("\"$@\"", guest({ "true" })));
        if (first.err.contains("there is no emulated machine here")) {
            QTest::qSkip(qPrintable(first.err), __FILE__, __LINE__);
            return;
        }
        QVERIFY2(first.status == 0, qPrintable(first.err));
    }

    void passesStreamsOn_data()
    {
        const Rows<QString, QStringList, int, QString, QString> row("script", "command", "status", "out",
                                                                    "err");
        row("all three", "seq 30000 | \"$@\"", { "sh", "-c", "sleep 1; wc -l; pwd; echo e >&2; exit 5" }, 5,
            "30000\n" + QDir::currentPath() + '\n', "e\n");
        row("nobody reads on", "{ \"$@\"; echo $? >&2; } | head -n 1", { "yes" }, 0, "y\n", "141\n");
        row("a signal ends it", "\"$@\"", { "sh", "-c", "kill -KILL $$" }, 128 + SIGKILL, "", "");
        row("no such command", "\"$@\"", { "none-such" }, 127, "",
            "bluetoothworld: none-such: command not found\n");
    }

    void passesStreamsOn()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, command);
        QFETCH(int, status);
        QFETCH(QString, out);
        QFETCH(QString, err);
        const Finished finished = run("sh", inShell(script, guest(command)));
        QCOMPARE(finished.err, err);
        QCOMPARE(finished.out, out);
        QCOMPARE(finished.status, status);
    }

    void isAtTheTerminal()
    {
        PseudoTerminal terminal;
        const QByteArray before = terminal.settings();
        QVERIFY(terminal.start({ "bash", "--norc", "-i" }, { { "PS1", "% " } }));
        QVERIFY2(terminal.shows("%"), terminal.screen());
        terminal.type(
            guest({ "sh", "-c", "'trap \"stty size\" WINCH CONT; stty size; read x; read x; exit 7'" })
                .join(' ')
                .toUtf8()
            + '\r');
        // Booting alone may take longer than a terminal is waited for.
        QVERIFY2(terminal.shows("guest: ") || terminal.shows("guest: "), terminal.screen());
        QVERIFY2(terminal.shows("\n24 80"), terminal.screen());
        terminal.resize(30);
        QVERIFY2(terminal.shows("\n30 80"), terminal.screen());
        terminal.type("\x1a");
        QVERIFY2(terminal.shows("Stopped"), terminal.screen());
        terminal.type("clear; kill -0 $$ && echo re''ad by the shell\r");
        QVERIFY2(terminal.shows("read by the shell\n%"), terminal.screen());
        terminal.resize(20);
        terminal.type("fg; echo en''ded $?\r");
        QVERIFY2(terminal.shows("\n20 80"), terminal.screen());
        terminal.type("\r\r");
        QVERIFY2(terminal.shows("ended 7"), terminal.screen());
        terminal.type("exit\r");
        QCOMPARE(terminal.finish(), 0);
        QCOMPARE(terminal.settings(), before);
    }

    void leavesNothing_data()
    {
        const Rows<int, bool> row("signal", "isTidy");
        row("SIGINT", SIGINT, true);
        row("SIGTERM", SIGTERM, true);
        row("SIGKILL", SIGKILL, false);
    }

    void leavesNothing()
    {
        QFETCH(int, signal);
        QFETCH(bool, isTidy);
        const QTemporaryDir runtime("/var/tmp/runtime-XXXXXX");
        QProcess world;
        QStringList words = guest({ "sh", "-c", "echo up; exec sleep 1000" });
        start(world, words.takeFirst(), words, { { { "XDG_RUNTIME_DIR", runtime.path() } }, false, {} });
        QVERIFY(world.waitForReadyRead(120'000));
        QVERIFY(!machines().empty());
        kill(static_cast<pid_t>(world.processId()), signal);
        QVERIFY(world.waitForFinished());
        QTRY_VERIFY(machines().empty());
        QCOMPARE(QDir(runtime.path()).isEmpty(), isTidy); // the next world takes it away
    }
};

QTEST_GUILESS_MAIN(GuestTest)
#include "GuestTest.moc"

#include "Mechanisms.h"

#include "Descendants.h"
#include "World.h"
#include "support/PseudoTerminal.h"
#include "support/Rows.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

/// What a person sees, and does then.
struct Step
{
    QString seen;
    QByteArray keys;
    int signal = 0; ///< sent to the program, in place of keys
};

using Steps = QVector<Step>;

QStringList worldWith(const QStringList& arguments)
{
    return QStringList{ worldProgram() } + arguments;
}

QStringList standIn(const QStringList& command)
{
    return worldWith(QStringList{ "--radio", "/bin/true", "--host", besideTest("stand_in_host"), "--" }
                     + command);
}

/// What a command does to end after whatever was sent to it before: it asks the bus, which has to be there.
const QString AskBus = "busctl --user --no-pager status tov.base.bluetoothlauncher >/dev/null";

/// A shell that starts the words, as a person's does, and has the terminal again after them.
QStringList inShell(const QStringList& words)
{
    const QString script = "trap : INT QUIT\n"
                           "\"$@\"; status=$?\n"
                           "trap - INT QUIT; printf '\\nended %s\\n' $status; exec sleep 1000";
    return QStringList{ "sh", "-c", script, "sh" } + words;
}

} // namespace

Q_DECLARE_METATYPE(Steps)

/// Whoever ran a world has the terminal as it was before, however the world ended.
class TerminalTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { REQUIRE_WORLD }
    void isGivenBack_data();
    void isGivenBack();
    void closedEndsTheWorld();
    void isLeftToAShellThatHasIt();
};

void TerminalTest::isGivenBack_data()
{
    const QByteArray controlC = "\x03";
    const QByteArray controlZ = "\x1a";
    const Rows<QString, QStringList, Steps, int> row("mechanism", "words", "steps", "status");
    for (const QString mechanism : { "namespace", "proot" }) {
        const auto add = [&](const char* name, const QStringList& words, const Steps& steps, int status) {
            row(qPrintable(mechanism + ": " + name), mechanism, words, steps, status);
        };
        add("tour to its end", worldWith({ "tour" }), {}, 0);
        add("tour, Ctrl-C", worldWith({ "tour" }), { { "$ itemctl", controlC } }, 128 + SIGINT);
        add("live view, q", worldWith({}), { { "Configs", "q" } }, 0);
        add("live view, Ctrl-C", worldWith({}), { { "Configs", controlC } }, 0);
        add("live view, SIGTERM", worldWith({}), { { "Configs", {}, SIGTERM } }, 0);
        add("a command that a signal ended", standIn({ "sh", "-c", "kill -KILL $$" }), {}, 128 + SIGKILL);
        add("a command that left it raw", standIn({ "sh", "-c", "stty raw -echo; kill -SEGV $$" }), {},
            128 + SIGSEGV);
        add("a command, Ctrl-C", standIn({ "sh", "-c", "echo ready; exec sleep 1000" }),
            { { "ready", controlC } }, 128 + SIGINT);
        add("a command that handles Ctrl-C",
            standIn({ "sh", "-c", "trap 'exit 9' INT; echo ready; sleep 1000 & wait" }),
            { { "ready", controlC } }, 9);
        add("a command that Ctrl-C does not end",
            standIn({ "sh", "-c",
                      "trap 'n=x' INT; echo ready; until [ $n ]; do :; done; " + AskBus + " && exit 8" }),
            { { "ready", controlC } }, 8);
        add("a command in a group of its own",
            standIn({ "bash", "-c", "set -m; (echo ready; while :; do :; done); exit 3" }),
            { { "ready", controlC } }, 128 + SIGINT);
        add("a shell with jobs", standIn({ "env", "PS1=% ", "bash", "--norc" }),
            { { "%", "sleep 1000 & sh -c 'trap \"echo ba''ck\" CONT; echo u''p; sleep 1000 & wait; wait'\r" },
              { "\nup", controlZ },
              { "wait'\n%", "jobs | wc -l; fg\r" },
              { "\nback", controlC },
              { "^C\n%", "exit 7\r" } },
            7);
        add("a shell that is killed over its job", standIn({ "env", "PS1=% ", "bash", "--norc" }),
            { { "%", "stty raw; kill -KILL $$\r" } }, 128 + SIGKILL);
    }
    // The terminal's signal is its own to send: who is not in the foreground does not get it.
    row("namespace: a command of another session, Ctrl-\\", "namespace",
        standIn(
            { "setsid", "sh", "-c", "trap 'exit 9' QUIT; echo ready; read line; " + AskBus + " && exit 8" }),
        { { "ready", "\x1c" }, { "^\\", "\r" } }, 8);
}

void TerminalTest::isGivenBack()
{
    QFETCH(QString, mechanism);
    QFETCH(QStringList, words);
    QFETCH(Steps, steps);
    QFETCH(int, status);
    REQUIRE_MECHANISM(mechanism, false)
    PseudoTerminal terminal;
    const QByteArray before = terminal.settings();
    QVERIFY(terminal.start(inShell(words), only(mechanism)));
    for (const Step& step : steps) {
        QVERIFY2(terminal.shows(step.seen), terminal.screen());
        if (step.signal != 0) {
            kill(world::descendants(terminal.program()).front(), step.signal);
        } else {
            terminal.type(step.keys);
        }
    }
    QVERIFY2(terminal.shows("ended"), terminal.screen());
    QVERIFY2(terminal.lines().contains(QString("ended %1").arg(status)), terminal.screen());
    QCOMPARE(terminal.settings(), before);
    QCOMPARE(terminal.foreground(), terminal.program());
    terminal.type("\x03");
    QCOMPARE(terminal.finish(), 128 + SIGINT);
}

void TerminalTest::closedEndsTheWorld()
{
    const QTemporaryDir runtime("/var/tmp/runtime-XXXXXX");
    auto terminal = std::make_unique<PseudoTerminal>();
    QVERIFY(terminal->start(inShell(standIn({ "sh", "-c", "echo ready; exec sleep 1000" })),
                            { { "XDG_RUNTIME_DIR", runtime.path() } }));
    QVERIFY2(terminal->shows("ready"), terminal->screen());
    QVERIFY(!QDir(runtime.path()).isEmpty());
    terminal.reset();
    QTRY_VERIFY_WITH_TIMEOUT(QDir(runtime.path()).isEmpty(), 30'000);
}

void TerminalTest::isLeftToAShellThatHasIt()
{
    PseudoTerminal terminal;
    QVERIFY(terminal.start({ "bash", "--norc", "-i" }, { { "PS1", "% " } }));
    QStringList words;
    for (const QString& word : standIn({ "sh", "-c", "echo re''ady; exec sleep 1000" })) {
        words << '\'' + QString(word).replace('\'', "'\\''") + '\'';
    }
    terminal.type("clear; " + words.join(' ').toUtf8() + '\r');
    QVERIFY2(terminal.shows("ready"), terminal.screen());
    terminal.type("\x1a");
    QVERIFY2(terminal.shows("Stopped"), terminal.screen());
    const pid_t world = world::descendants(terminal.program()).front();
    terminal.type("clear; set -b; bg\r");
    QVERIFY2(terminal.shows("&\n%"), terminal.screen());
    kill(world, SIGTERM);
    QVERIFY2(terminal.shows("Exit 143"), terminal.screen());
    QCOMPARE(terminal.foreground(), terminal.program());
    terminal.type("exit 5\r");
    QCOMPARE(terminal.finish(), 5);
}

QTEST_GUILESS_MAIN(TerminalTest)
#include "TerminalTest.moc"

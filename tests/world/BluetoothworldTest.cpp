#include "Mechanisms.h"

#include "World.h"
#include "support/Rows.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

/// A scenario file; where it is.
QString writeRoom(const QTemporaryDir& folder)
{
    QFile scenario(folder.filePath("room.json"));
    if (scenario.open(QIODevice::WriteOnly)) {
        scenario.write(R"({ "devices": [] })");
    }
    return scenario.fileName();
}

const QString HostEnds =
    "kill -KILL $(busctl --user call org.freedesktop.DBus / org.freedesktop.DBus GetConnectionUnixProcessID "
    "s tov.base.bluetoothlauncher | cut -d' ' -f2)\n"
    "until ! busctl --user status tov.base.bluetoothlauncher >/dev/null 2>&1; do :; done";

} // namespace

/// The program behind ./run, with a stand-in of the host.
class BluetoothworldTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { REQUIRE_WORLD }

    void exitStatus_data()
    {
        const Rows<QStringList, int, QString> row("command", "status", "error");
        row("done", { "true" }, 0, "");
        row("failed", { "sh", "-c", "exit 42" }, 42, "");
        row("signal", { "sh", "-c", "kill -USR1 $$" }, 128 + SIGUSR1, "");
        row("not found", { "no-such-command" }, 127, "bluetoothworld: no-such-command: command not found\n");
        row("not executable", { "/etc/passwd" }, 126, "bluetoothworld: /etc/passwd: Permission denied\n");
        row("arguments like options", { "test", "--", "=", "--" }, 0, "");
        row("an empty argument", { "test", "-z", "" }, 0, "");
        row("help", { "sh", "-c", "[ \"$($0 help)\" = \"$($0 --help)\" ]", worldProgram() }, 0, "");
    }

    void exitStatus()
    {
        QFETCH(QStringList, command);
        QFETCH(int, status);
        QFETCH(QString, error);
        const Finished world = run(worldProgram(), withStandIn({ "--" }) + command);
        QCOMPARE(world.err, error);
        QCOMPARE(world.status, status);
    }

    void refusesWhatMakesNoSense_data()
    {
        const Rows<QStringList, QString> row("arguments", "error");
        row("command without dashes", { "itemctl", "list" },
            R"("itemctl" is no option: what to run comes behind "--", like ./run -- itemctl list;)");
        row("like an option", { "--senario", "crowd" },
            R"(no option "--senario"; did you mean "--scenario"?)");
        row("like the tour", { "tuor" }, R"(did you mean "tour"?)");
        row("more than the tour", { "tour", "--fast" }, R"(no option "--fast"; see --help)");
        row("a long word of anybody", { QString(61, 'x') }, '"' + QString(60, 'x') + QChar(0x2026) + '"');
        row("two letters of an option", { "--lo", "--", "true" }, R"(did you mean "--log"?)");
        row("as near to pair-code as to pair-pin", { "--scenario", "pair-poe", "--", "true" },
            R"(did you mean "pair-code"?)");
        row("no command", { "--" }, "no COMMAND behind");
        row("tour and command", { "tour", "--", "true" }, "not both");
        row("unknown option", { "--colour", "--", "true" }, R"(no option "--colour"; see --help)");
        row("radio missing", { "--radio", "/no/such", "--", "true" }, "--radio /no/such: ");
        row("radio not executable", { "--radio", "/etc/passwd", "--", "true" }, "--radio /etc/passwd: ");
        row("radio a folder", { "--radio", "/etc", "--", "true" }, "--radio /etc: ");
        row("scenario missing", { "--scenario", "./none.json", "--", "true" },
            "none.json cannot be read: No such file");
        row("scenario unknown", { "--scenario", "crwd", "--", "true" },
            R"(no scenario "crwd"; did you mean "crowd"?)");
        row("scenario wrong", { "--scenario", "/etc/passwd", "--", "true" },
            "/etc/passwd:1: this is no JSON");
        row("an empty command", { "--", "", "x" }, "no COMMAND behind");
        row("check of no machine", { "--check" }, "--check: only \"--radio bluez\" ");
        row("check with a command", { "--radio", "bluez", "--check", "--", "true" }, "--check runs nothing");
        row("check and tour", { "--radio", "bluez", "--check", "tour" }, "--check runs nothing");
        row("JSON of nothing", { "--json", "--", "true" }, "--json requires --check");
        row("adapter of no machine", { "--adapter", "hci1", "--", "true" }, "--adapter hci1: only ");
        row("private, without a machine", { "--private", "--", "true" }, "--private: only ");
        row("state", { "--state", "/proc/none", "--", "true" }, "--state /proc/none: ");
        row("state in a guest", { "--radio", "guest", "--state", "x", "--", "true" },
            "--state x: what \"--radio guest\" writes");
        row("log", { "--log", "/proc/none", "--", "true" }, "--log /proc/none: ");
    }

    void refusesWhatMakesNoSense()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, error);
        const Finished world = run(worldProgram(), arguments);
        QVERIFY2(world.err.contains(error), qPrintable(world.err));
        QCOMPARE(world.err.count('\n'), 1);
        QCOMPARE(world.out, QString());
        QCOMPARE(world.status, 2);
    }

    void passesChoicesOn()
    {
        const QTemporaryDir folder("/tmp/choices-XXXXXX");
        const QString scenario = writeRoom(folder);
        // Names are relative to the folder that the caller stands in, and stay visible below /tmp.
        const Finished world = run(
            worldProgram(),
            withStandIn({ "--scenario", "room.json", "--state", "kept", "--log", "kept.log", "--", "sh", "-c",
                          "echo $BLUESIM_SCENARIO; cat kept.log; pwd; ls -d kept; echo ${PATH%%:*}" }),
            { {}, false, folder.path() });
        QCOMPARE(world.err, QString());
        const QStringList lines = world.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.first(), scenario);
        QVERIFY2(lines.contains("host: state in " + folder.filePath("kept")), qPrintable(world.out));
        QCOMPARE(lines.mid(lines.size() - 3),
                 QStringList({ folder.path(), "kept", world::World::binFolder() }));
        const Finished named =
            run(worldProgram(), withStandIn({ "--scenario", "crowd", "--", "printenv", "BLUESIM_SCENARIO" }));
        QCOMPARE(named.out, "crowd\n");
        const Finished adapter =
            run(worldProgram(),
                { "--host", besideTest("stand_in_host"), "--radio", "bluez", "--adapter", "hci7", "--private",
                  "--", "printenv", "BLUEZ_ADAPTER", "BLUEZ_PRIVATE" });
        QCOMPARE(adapter.out, "hci7\n1\n");
        const Finished check =
            run(worldProgram(), { "--radio", "bluez", "--check", "--json" },
                { { { "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent" } }, false, {} });
        QVERIFY2(check.out.contains(R"({"level":"fault","subject":"bus",)"), qPrintable(check.out));
        QCOMPARE(check.status, 3);
    }

    void switchesOn_data()
    {
        const Rows<QString, QString, QString, int> row("radio", "out", "error", "status");
        row("and waits", "sim", "3\n", "", 0);
        row("in vain", "/bin/true", "", "--on: the radio does not go on", 69);
    }

    // Its clock goes faster than ours.
    void switchesOn()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("no library may be loaded in front of a sanitizer's");
#endif
        QFETCH(QString, radio);
        QFETCH(QString, error);
        const Finished world =
            run(worldProgram(), { "--radio", radio, "--on", "--", "itemctl", "get", "status" },
                { { { "LD_PRELOAD", "/usr/$LIB/faketime/libfaketime.so.1" }, { "FAKETIME", "+0 x20" } },
                  false,
                  {} });
        QTEST(world.out, "out");
        QVERIFY2(world.err.contains(error), qPrintable(world.err));
        QTEST(world.status, "status");
    }

    void passesOnWhatItInherits_data()
    {
        addMechanisms();
    }

    // A caller's exported function, a variable by a name that a shell does not know, an open descriptor.
    void passesOnWhatItInherits()
    {
        FETCH_MECHANISM
        const QString script = "greet() { echo hello; }; export -f greet\n"
                               "exec env a.b=kept \"$@\" 9<<<opened";
        const Finished world = run("bash",
                                   QStringList{ "-c", script, "bash", worldProgram() }
                                       + withStandIn({ "--", "bash", "-c", "greet; printenv a.b; cat <&9" }),
                                   { only(mechanism), ordinaryUser, "/" });
        QCOMPARE(world.err, QString());
        QCOMPARE(world.out, "hello\nkept\nopened\n");
    }

    // By their whole paths, from another folder.
    void whatIsNamedStaysVisible()
    {
        const QTemporaryDir folder("/tmp/named-XXXXXX");
        const QString link = folder.filePath("link/radio");
        const QString radio = folder.filePath("true/radio");
        QVERIFY(QDir(folder.path()).mkpath("link") && QDir(folder.path()).mkpath("true"));
        QVERIFY(QFile::copy("/bin/true", radio) && QFile::link(radio, link));
        const QStringList options{ "--radio",    link,
                                   "--host",     besideTest("stand_in_host"),
                                   "--scenario", writeRoom(folder) };
        const QString script =
            "cat $BLUESIM_SCENARIO; blue_controller_zq4 && echo; echo ${TMPDIR-none}; ls " + folder.path();
        const Finished world = run(worldProgram(), options + QStringList{ "--", "sh", "-c", script },
                                   { { { "TMPDIR", folder.filePath("hidden") } }, false, "/" });
        QCOMPARE(world.err, QString());
        QCOMPARE(world.out, "{ \"devices\": [] }\nnone\nlink\nroom.json\ntrue\n");
    }

    void bluezRadioGetsTheMachinesBus_data()
    {
        const Rows<QString, QString> row("given", "bus");
        row("the usual one", "", "unix:path=/run/dbus/system_bus_socket\n");
        row("another", "unix:path=/nonexistent", "unix:path=/nonexistent\n");
    }

    void bluezRadioGetsTheMachinesBus()
    {
        QFETCH(QString, given);
        const Finished world = run(worldProgram(),
                                   { "--radio", "bluez", "--host", besideTest("stand_in_host"), "--",
                                     "printenv", "BLUEZ_SYSTEM_BUS_ADDRESS" },
                                   { { { "DBUS_SYSTEM_BUS_ADDRESS", given } }, false, {} });
        QTEST(world.out, "bus");
    }

    void tellsWhatTheHostSaid_data()
    {
        const Rows<QStringList, QString, int, QStringList> row("arguments", "standIn", "status", "told");
        row("that did not come up", { "--", "true" }, "fails", 69,
            { "ended with status 3",
              "controller said:\nlamp has no config \"state\"\nhost: the configs cannot be read\n" });
        row("that left", { "--", "sh", "-c", HostEnds }, "", 0,
            { "the host ended by itself", "host: state in" });
        row("while the tour failed", { "tour" }, "", 1, { "controller said:\nhost: state in" });
    }

    void tellsWhatTheHostSaid()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, standIn);
        QFETCH(QStringList, told);
        const Finished world =
            run(worldProgram(), withStandIn(arguments), { { { "STAND_IN_HOST", standIn } }, false, {} });
        for (const QString& text : told) {
            QVERIFY2(world.err.contains(text), qPrintable(world.err));
        }
        QTEST(world.status, "status");
    }

    void outputGoesToTheLog()
    {
        const QTemporaryDir folder("/var/tmp/log-XXXXXX");
        QFile log(folder.filePath("world.log"));
        const Finished world = run(worldProgram(), withStandIn({ "--log", log.fileName(), "--", "true" }),
                                   { { { "STAND_IN_HOST", "fails" } }, false, {} });
        QCOMPARE(world.err.count('\n'), 1);
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("host: the configs cannot be read"));
    }
};

QTEST_GUILESS_MAIN(BluetoothworldTest)
#include "BluetoothworldTest.moc"

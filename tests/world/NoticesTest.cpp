#include "Mechanisms.h"
#include "NoticeOutlet.h"
#include "World.h"
#include "support/Programs.h"
#include "support/PseudoTerminal.h"
#include "support/Rows.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

/// What a person does to start the controller, and to know that it has said everything.
const QString StartAndHear = "mkfifo /tmp/said; itemctl set enabled true; read end </tmp/said";

} // namespace

/// What a controller has for a person, and what reaches no controller, where the person is.
class NoticesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { REQUIRE_WORLD }
    void controllerSays_data()
    {
        const Rows<QString, QString> row("script", "shown");
        row("a line", "echo 'notice: x'", "notice: x\n");
        row("on standard error", "echo 'notice: x' >&2", "notice: x\n");
        row("in pieces", "printf 'not'; printf 'ice: x'; printf '\\n'", "notice: x\n");
        row("no notices", "echo 'x notice: y'; echo ' notice: z'; echo notice; echo Notice: a", "");
        row("steers terminals", R"(printf 'notice: \033[2Jgone\r\n')",
            QString(R"(notice: \x1b[2Jgone\r)") + '\n');
        row("a long line", "printf 'notice: '; head -c 100000 /dev/zero | tr '\\0' x; echo",
            "notice: " + QString(1000, 'x') + QChar(0x2026) + '\n');
        row("after the command", "trap 'echo notice: bye; exit' TERM; echo >/tmp/said; while :; do :; done",
            "notice: bye\n");
    }

    void controllerSays()
    {
        QFETCH(QString, script);
        QVERIFY(writeController(script));
        const Finished finished = inWorld({}, StartAndHear);
        QTEST(finished.err, "shown");
        QCOMPARE(finished.status, 0);
    }

    void floodIsCutShort()
    {
        QVERIFY(writeController("i=0; while [ $i -lt 3000 ]; do i=$((i+1)); echo \"notice: line $i\"; done"));
        const Finished finished = inWorld({}, StartAndHear);
        QVERIFY2(finished.err.startsWith("notice: line 1\nnotice: line 2\n"), qPrintable(finished.err));
        QVERIFY2(finished.err.endsWith(" were left out\n"), qPrintable(finished.err));
        QVERIFY2(finished.err.count('\n') < 3 * world::NoticeOutlet::Burst, qPrintable(finished.err));
    }

    // The log that is standard error itself shows them already.
    void logMayBeAnything_data()
    {
        const Rows<QString, QString, QString, QString> row("redirection", "log", "shown", "kept");
        const QString file = m_folder.filePath("world.log");
        const QString errors = m_folder.filePath("errors");
        row("a file", "", file, "notice: x\n", file);
        row("nothing", "", "/dev/null", "", "");
        row("a FIFO that nobody reads", "", m_folder.filePath("fifo"), "", "");
        row("standard error, a file", "2>" + errors, "/dev/stderr", "", errors);
    }

    void logMayBeAnything()
    {
        QFETCH(QString, redirection);
        QFETCH(QString, log);
        QFETCH(QString, kept);
        ::mkfifo(QFile::encodeName(m_folder.filePath("fifo")).constData(), 0600);
        QVERIFY(writeController("echo 'notice: x'"));
        const Finished finished = run("sh",
                                      { "-c", "exec \"$@\" " + redirection, "sh", worldProgram(), "--radio",
                                        controller(), "--log", log, "--", "sh", "-c", StartAndHear });
        QTEST(finished.err, "shown");
        QCOMPARE(finished.status, 0);
        QFile file(kept);
        QVERIFY(kept.isEmpty() || file.open(QIODevice::ReadOnly));
        QCOMPARE(file.isOpen() ? file.readAll().count("notice: x\n") : 1, 1);
    }

    void reachesNoRadio_data()
    {
        const Rows<QString, QString> row("command", "shown");
        const QString off = R"( reached no radio: it is off; "itemctl set enabled true" switches it on)";
        const QString busctl =
            "busctl --user call tov.base.bluetoothlauncher /tov/base/Items tov.base.Items ";
        row("scan", "itemctl call scan", "notice: \"scan\"" + off + '\n');
        row("pair", "itemctl call pair 00:11:22:33:44:03", "notice: \"pair\"" + off + '\n');
        row("by busctl", busctl + "Trigger ss bluetooth:unpair ''", "notice: \"unpair\"" + off + '\n');
        row("needs none",
            "itemctl call cycleradio; itemctl call requestBluetooth; " + busctl + "Get s status", "");
        row("switched on, not there", "itemctl set enabled true; itemctl call scan",
            "notice: \"scan\" reached no radio: it is switched on, but not there yet, or lent; \"itemctl "
            "wait "
            "status=On\" waits for it\n");
        row("another action", busctl + "Trigger ss other:scan '' 2>/dev/null; true", "");
    }

    void reachesNoRadio()
    {
        QFETCH(QString, command);
        QVERIFY(writeController("exec sleep 1000"));
        const Finished finished = inWorld({}, command + " >/dev/null");
        QTEST(finished.err, "shown");
        QCOMPARE(finished.status, 0);
    }

    void simulatedRadioRefuses()
    {
        const Finished finished =
            run(worldProgram(),
                { "--", "sh", "-c",
                  "itemctl set enabled true && itemctl wait status=On && itemctl call cancelscan && itemctl "
                  "call pair "
                  "00:11:22:33:44:01 && itemctl wait pairstate=4 && itemctl call pair 00:11:22:33:44:02 && "
                  "itemctl call "
                  "pindecline && itemctl call rejectcode && itemctl wait pairstate=200" });
        QCOMPARE(finished.status, 0);
        QStringList lines = finished.err.split('\n', Qt::SkipEmptyParts);
        QVERIFY2(lines.size() == 4, qPrintable(finished.err));
        for (const char* request : { "CancelScan", "Pair", "PINdecline" }) {
            QVERIFY2(lines.takeFirst().startsWith(QString("notice: %1 refused: ").arg(request)),
                     qPrintable(finished.err));
        }
        QCOMPARE(lines.first(),
                 "notice: pairing with Phone (00:11:22:33:44:01) failed: it was refused here; to agree, pair "
                 "again");
    }

    void machineHasNoRadio()
    {
        const QString command = "itemctl set enabled true\n"
                                "until busctl --system status com.qarn.bluetooth >/dev/null 2>&1; do :; done";
        const Finished finished =
            run(worldProgram(), { "--radio", "bluez", "--", "sh", "-c", command },
                { { { "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent" } }, false, {} });
        QVERIFY2(finished.err.startsWith(
                     "notice: the machine's system bus, where bluetoothd is, cannot be reached"),
                 qPrintable(finished.err));
        QCOMPARE(finished.err.count('\n'), 1);
    }

    // Which does not go back to the first column by itself.
    void rawTerminal()
    {
        const Finished finished = run(
            "script", { "-qec", "stty raw; exec " + worldProgram() + " -- itemctl call scan", "/dev/null" });
        QVERIFY2(finished.out.endsWith("switches it on\r\n"), qPrintable(finished.out));
    }

    void liveViewShowsThem()
    {
        QVERIFY(writeController("echo 'notice: ZEBRA'; exec sleep 1000"));
        PseudoTerminal terminal;
        QVERIFY(terminal.start({ worldProgram(), "--radio", controller() }));
        QVERIFY2(terminal.shows("quits"), terminal.screen());
        terminal.type("e");
        QVERIFY2(terminal.shows("ZEBRA"), terminal.screen());
        terminal.type("n");
        QVERIFY2(terminal.shows("1 of 1"), terminal.screen()); // once
        terminal.type("q");
        QCOMPARE(terminal.finish(), 0);
        QVERIFY(!terminal.screen().contains("ZEBRA"));
    }

private:
    [[nodiscard]] QString controller() const { return m_folder.filePath("controller"); }

    /// A program of anybody's; it tells the command when it has said everything.
    [[nodiscard]] bool writeController(const QString& script) const
    {
        QFile file(controller());
        return file.open(QIODevice::WriteOnly)
            && file.write(("#!/bin/sh\n" + script + "\n[ -p /tmp/said ] && echo >/tmp/said\n").toUtf8()) > 0
            && file.setPermissions(QFile::Permissions(0x7755));
    }

    [[nodiscard]] Finished inWorld(const QStringList& options, const QString& command) const
    {
        return run(worldProgram(),
                   QStringList{ "--radio", controller() } + options
                       + QStringList{ "--", "sh", "-c", command });
    }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(NoticesTest)
#include "NoticesTest.moc"

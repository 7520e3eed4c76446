// The host as a program: what it says when it cannot serve, and how it ends.
#include "ModuleWorld.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QDir>
#include <QFile>

#include <csignal>

class HostTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void cleanup()
    {
        QFile::remove("/tmp/controller.runs");
        QDir("/tmp/state").removeRecursively();
    }

    void saysWhyItCannotServe_data()
    {
        const Rows<QStringList, int, QString> row("arguments", "status", "message");
        const QString library = QDir::cleanPath(world::World::binFolder() + "/../lib/libipc.so.1");
        QFile text("/tmp/text.so");
        QVERIFY(text.open(QIODevice::WriteOnly));
        row("no module file", { "--module", "/tmp/none.so" }, 1, "\"/tmp/none.so\"");
        row("a folder", { "--module", "/tmp" }, 1, "\"/tmp\"");
        row("no library, in the current folder", { "--module", "text.so" }, 1,
            "/tmp/text.so: file too short");
        row("no factory", { "--module", library }, 1,
            "\"" + library + "\" is not a module file: it has no function");
        row("a second host", { "--state", "/tmp/state" }, 1, "tov.base.bluetoothlauncher is taken");
        row("unknown option", { "--stat", "/tmp" }, 2, "--stat");
        row("help", { "--help" }, 0, "");
    }

    void saysWhyItCannotServe()
    {
        QFETCH(const QStringList, arguments);
        QFETCH(const QString, message);
        const Finished host = run(hostPath(), arguments, { {}, false, "/tmp" });
        QTEST(host.status, "status");
        QVERIFY2(host.err.contains(message), qPrintable(host.err));
        // The one that serves is not disturbed.
        COMPARE_ITEM("enabled", false);
    }

    void needsBothBuses_data()
    {
        const Rows<QString> row("variable");
        row("session", "DBUS_SESSION_BUS_ADDRESS");
        row("system", "DBUS_SYSTEM_BUS_ADDRESS");
    }

    void needsBothBuses()
    {
        QFETCH(const QString, variable);
        const Finished host = run(hostPath(), { "--state", "/tmp/other" },
                                  { { { variable, "unix:path=/nonexistent" } }, false, {} });
        QCOMPARE(host.status, 1);
        QVERIFY2(host.err.contains(variable), qPrintable(host.err));
    }

    void endsInOrder_data()
    {
        const Rows<int> row("signal");
        row("SIGTERM", SIGTERM);
        row("SIGINT", SIGINT);
    }

    void endsInOrder()
    {
        QFETCH(const int, signal);
        m_world.world().stopHost();
        QProcess host;
        host.setProcessChannelMode(QProcess::ForwardedChannels);
        host.start(hostPath(), { "--state", "/tmp/state" });
        QTRY_VERIFY(m_world.set("enabled", true));
        QTRY_VERIFY(!controllerRuns().isEmpty());
        QCOMPARE(::kill(static_cast<pid_t>(host.processId()), signal), 0);
        QVERIFY(Patience::waitFor([&host] { return host.state() == QProcess::NotRunning; }));
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 0);
        // The controller is not stopped by the host, but by the kernel behind it.
        QTRY_VERIFY(controllerRuns().constLast().ended);
        QFile configs("/tmp/state/bluetoothlauncher.json");
        QVERIFY(configs.open(QIODevice::ReadOnly));
        QVERIFY(configs.readAll().contains("true"));
    }

    void survivesIgnoredChildSignals()
    {
        // What a parent that ignores SIGCHLD leaves to its children would make every wait for one fail.
        QProcess host;
        host.setProcessChannelMode(QProcess::ForwardedChannels);
        host.start("sh", { "-c", "trap '' CHLD; exec \"$0\" --state /tmp/state", hostPath() });
        QTRY_VERIFY(m_world.set("enabled", true));
        QFile status(QString("/proc/%1/status").arg(host.processId()));
        QVERIFY(status.open(QIODevice::ReadOnly));
        QByteArray ignored = status.readAll();
        ignored = ignored.mid(ignored.indexOf("SigIgn:") + 8, 16);
        QCOMPARE(ignored.toULongLong(nullptr, 16) & (1ULL << (SIGCHLD - 1)), 0ULL);
        SET_ITEM("enabled", false);
        host.terminate();
        QVERIFY(Patience::waitFor([&host] { return host.state() == QProcess::NotRunning; }));
    }

private:
    [[nodiscard]] static QString hostPath() { return world::World::binFolder() + "/bluetoothlauncher"; }
};

MODULE_TEST_MAIN(HostTest)
#include "HostTest.moc"

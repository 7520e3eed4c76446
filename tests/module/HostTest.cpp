// The host as a program: what it says when it cannot serve, and how it ends.
#include "ModuleWorld.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <csignal>

class HostTest : public QObject
{
    Q_OBJECT
public:
    explicit HostTest(ModuleWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void saysWhyItCannotServe_data();
    void saysWhyItCannotServe();
    void needsASessionBus();
    void endsInOrder_data();
    void endsInOrder();
    void survivesIgnoredChildSignals();

private:
    ModuleWorld& m_world;
};

namespace {

struct Run
{
    int status = -1;
    QString errors;
};

Run run(const QStringList& arguments, const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(world::World::binFolder() + "/bluetoothlauncher", arguments);
    if (!process.waitForFinished())
        return {};
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
             QString::fromLocal8Bit(process.readAllStandardError()) };
}

} // namespace

void HostTest::saysWhyItCannotServe_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    const QString library = QDir::cleanPath(world::World::binFolder() + "/../lib/libipc.so.1");
    QFile text("/tmp/text.so");
    QVERIFY(text.open(QIODevice::WriteOnly));
    QTest::newRow("no module file") << QStringList{ "--module", "/tmp/none.so" } << 1 << "\"/tmp/none.so\"";
    QTest::newRow("a folder") << QStringList{ "--module", "/tmp" } << 1 << "\"/tmp\"";
    QTest::newRow("no library") << QStringList{ "--module", text.fileName() } << 1 << text.fileName();
    QTest::newRow("no factory") << QStringList{ "--module", library } << 1
                                << "\"" + library + "\" is not a module file: it has no function";
    QTest::newRow("a second host") << QStringList{ "--state", "/tmp/state" } << 1
                                   << "tov.base.bluetoothlauncher is taken";
    QTest::newRow("unknown option") << QStringList{ "--stat", "/tmp" } << 2 << "--stat";
    QTest::newRow("help") << QStringList{ "--help" } << 0 << "";
}

void HostTest::saysWhyItCannotServe()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);
    const Run outcome = run(arguments, QProcessEnvironment::systemEnvironment());
    QTEST(outcome.status, "status");
    QVERIFY2(outcome.errors.contains(message), qPrintable(outcome.errors));
    // The one that serves is not disturbed.
    QCOMPARE(m_world.value("enabled"), QVariant(false));
}

void HostTest::needsASessionBus()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    const Run outcome = run({ "--state", "/tmp/state" }, environment);
    QCOMPARE(outcome.status, 1);
    QVERIFY2(outcome.errors.contains("DBUS_SESSION_BUS_ADDRESS"), qPrintable(outcome.errors));
}

void HostTest::endsInOrder_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void HostTest::endsInOrder()
{
    QFETCH(const int, signal);
    m_world.world().stopHost();
    QProcess host;
    host.setProcessChannelMode(QProcess::ForwardedChannels);
    host.start(world::World::binFolder() + "/bluetoothlauncher", { "--state", "/tmp/state" });
    QTRY_VERIFY(m_world.set("enabled", true));
    QTRY_VERIFY(!controllerRuns().isEmpty());
    QCOMPARE(::kill(static_cast<pid_t>(host.processId()), signal), 0);
    QVERIFY(host.waitForFinished());
    QCOMPARE(host.exitStatus(), QProcess::NormalExit);
    QCOMPARE(host.exitCode(), 0);
    // The controller is not stopped by the host, but by the kernel behind it.
    QTRY_VERIFY(controllerRuns().constLast().ended);
    QFile configs("/tmp/state/bluetoothlauncher.json");
    QVERIFY(configs.open(QIODevice::ReadOnly));
    QVERIFY(configs.readAll().contains("true"));
    QVERIFY(QFile::remove("/tmp/controller.runs") && QDir("/tmp/state").removeRecursively());
}

void HostTest::survivesIgnoredChildSignals()
{
    // What a parent that ignores SIGCHLD leaves to its children would make every wait for one fail.
    QProcess host;
    host.setProcessChannelMode(QProcess::ForwardedChannels);
    host.start("sh",
               { "-c", "trap '' CHLD; exec \"$0\" --state /tmp/state",
                 world::World::binFolder() + "/bluetoothlauncher" });
    QTRY_VERIFY(m_world.set("enabled", true));
    QFile status(QString("/proc/%1/status").arg(host.processId()));
    QVERIFY(status.open(QIODevice::ReadOnly));
    QByteArray ignored = status.readAll();
    ignored = ignored.mid(ignored.indexOf("SigIgn:") + 8, 16);
    QCOMPARE(ignored.toULongLong(nullptr, 16) & (1ULL << (SIGCHLD - 1)), 0ULL);
    QVERIFY(m_world.set("enabled", false));
    host.terminate();
    QVERIFY(host.waitForFinished());
}

int main(int argc, char** argv)
{
    return runInModuleWorld<HostTest>(argc, argv);
}

#include "HostTest.moc"

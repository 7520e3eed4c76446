// Others fail: the borrower of the radio, the daemon, the controller. The host goes on, and loses nothing.
#include "ModuleWorld.h"
#include "world/ChildProcess.h"

#include <QElapsedTimer>
#include <QFile>

#include <csignal>

#include <unistd.h>

class FaultsTest : public QObject
{
    Q_OBJECT
public:
    explicit FaultsTest(ModuleWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void init();
    void cleanup();
    void borrowerIsKilled();
    void daemonIsKilled();
    void controllerTakesItsTime();

private:
    [[nodiscard]] bool switchOnWith(const QString& controller);

    ModuleWorld& m_world;
    pid_t m_host = 0;
};

namespace {

/// The time that a process has spent on a processor, in milliseconds.
qint64 processorTime(pid_t pid)
{
    QFile file(QString("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(") ") + 2).split(' ');
    return (fields[11].toLongLong() + fields[12].toLongLong()) * 1000 / sysconf(_SC_CLK_TCK);
}

} // namespace

void FaultsTest::init()
{
    m_host = m_world.world().hostPid();
    QVERIFY(m_world.set("enabled", false));
    QVERIFY(m_world.world().setController(RECORDING_CONTROLLER));
}

void FaultsTest::cleanup()
{
    QVERIFY(m_world.world().hostRuns());
    QCOMPARE(m_world.world().hostPid(), m_host);
}

bool FaultsTest::switchOnWith(const QString& controller)
{
    return m_world.world().setController(controller) && m_world.set("enabled", true);
}

void FaultsTest::borrowerIsKilled()
{
    QVERIFY(switchOnWith(RECORDING_CONTROLLER));
    world::ChildProcess borrower;
    QCOMPARE(borrower.start({ { "sleep", "60" } }), 0);
    QCOMPARE(m_world.trigger("requestBluetooth", QString("%1,1").arg(borrower.pid())), "Success");
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());

    borrower.signal(SIGKILL);
    QTRY_VERIFY(isZombie(borrower.pid()));
    // It has a process id until its parent has asked for it, and keeps the radio as long; the second between
    // the two flips of a cycle has room for two checks.
    QCOMPARE(m_world.trigger("cycleradio"), "");
    QTRY_COMPARE(m_world.value("enabled"), QVariant(false));
    QTRY_COMPARE(m_world.value("enabled"), QVariant(true));
    QVERIFY(!m_world.isApplicable("enabled"));
    borrower.wait();
    QTRY_VERIFY_WITH_TIMEOUT(m_world.isApplicable("enabled"), 1500);
    QCOMPARE(m_world.hostChildren().size(), 1);
}

void FaultsTest::daemonIsKilled()
{
    QVERIFY(switchOnWith(QStringLiteral(BLUESIM)));
    QTRY_COMPARE(m_world.value("status"), QVariant(3));
    QCOMPARE(kill(m_world.hostChildren().value(0), SIGKILL), 0);
    // It was the controller as well: nothing of it is left, and the setting says so.
    QTRY_COMPARE(m_world.value("enabled"), QVariant(false));
    QCOMPARE(m_world.value("status"), QVariant(0));
    QVERIFY(!m_world.isApplicable("scan"));
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());

    QVERIFY(m_world.set("enabled", true));
    QTRY_COMPARE(m_world.value("status"), QVariant(3));
    QVERIFY(m_world.isApplicable("scan"));
}

void FaultsTest::controllerTakesItsTime()
{
    QFile script("/tmp/slow_controller");
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\n"
                 "trap 'kill $!; sleep 2; exit' TERM\n"
                 "sleep 60 &\n"
                 "echo ready >/tmp/slow_controller.ready\n"
                 "wait\n");
    QVERIFY(script.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    script.close();
    QVERIFY(switchOnWith(script.fileName()));
    QTRY_VERIFY(QFile::exists("/tmp/slow_controller.ready"));

    // The write is answered when the controller has gone. The host sleeps meanwhile, and others wait for it.
    KELClientInterface impatient("tov.base.bluetoothlauncher", QDBusConnection::sessionBus());
    impatient.setTimeout(std::chrono::milliseconds(500));
    const qint64 before = processorTime(m_host);
    QElapsedTimer time;
    time.start();
    m_world.client().setItem("enabled", false);
    const auto answer = impatient.get("enabled");
    QVERIFY(!answer);
    QCOMPARE(answer.error().kind, ipc::ClientError::Kind::NoAnswer);
    QCOMPARE(m_world.value("enabled"), QVariant(false));
    QVERIFY2(time.elapsed() >= 2000, qPrintable(QString::number(time.elapsed())));
    QVERIFY2(processorTime(m_host) - before < 500, qPrintable(QString::number(processorTime(m_host))));
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());
}

int main(int argc, char** argv)
{
    return runInModuleWorld<FaultsTest>(argc, argv);
}

#include "FaultsTest.moc"

// The radio controller as the host's child: how it is started and stopped, and what a loan does to it.
#include "ChildProcess.h"
#include "ModuleWorld.h"

#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <csignal>

#include <unistd.h>

namespace {

const QString Firmware = "/tmp/bt.bts";

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

/// The time that a process has spent on a processor, in milliseconds.
qint64 processorTime(pid_t pid)
{
    QFile file(QString("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(") ") + 2).split(' ');
    return (fields[11].toLongLong() + fields[12].toLongLong()) * 1000 / sysconf(_SC_CLK_TCK);
}

} // namespace

class RadioPowerTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void init()
    {
        SET_ITEM("enabled", false);
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());
        QVERIFY(m_world.world().setController(RECORDING_CONTROLLER));
        for (const char* file : { "/tmp/controller.runs", "/tmp/hostname", "/tmp/bt.bts" }) {
            QFile::remove(file);
        }
    }

    void controllerIsStartedAndWaitedFor()
    {
        writeFile("/tmp/hostname", "a b\n");
        QVERIFY(switchOn());
        const ControllerRun run = controllerRuns().constFirst();
        QCOMPARE(run.arguments,
                 (QList<QByteArray>{ "/usr/bin/blue_controller_zq4", "TORLO-a b\n", "1", "1" }));
        QCOMPARE(m_world.hostChildren(), QList<pid_t>{ run.pid });
        QCOMPARE(run.parentDeathSignal, SIGTERM);
        QVERIFY(!run.sigtermBlocked);
        QVERIFY(QFile::exists(Firmware));

        // The write is answered when the radio is off: the controller has ended and left no zombie.
        SET_ITEM("enabled", false);
        QVERIFY(controllerRuns().constFirst().ended);
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());
    }

    void controllerTakesItsTime()
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
        QVERIFY(m_world.world().setController(script.fileName()));
        SET_ITEM("enabled", true);
        QTRY_VERIFY(QFile::exists("/tmp/slow_controller.ready"));

        // The write is answered when the controller has gone. The host sleeps meanwhile, and others wait for
        // it.
        KELClientInterface impatient("tov.base.bluetoothlauncher", QDBusConnection::sessionBus());
        impatient.setTimeout(std::chrono::milliseconds(500));
        const pid_t host = m_world.world().hostPid();
        const qint64 before = processorTime(host);
        QElapsedTimer time;
        time.start();
        m_world.client().setItem("enabled", false);
        const auto answer = impatient.get("enabled");
        QVERIFY(!answer);
        QCOMPARE(answer.error().kind, ipc::ClientError::Kind::NoAnswer);
        COMPARE_ITEM("enabled", false);
        QVERIFY2(time.elapsed() >= 2000, qPrintable(QString::number(time.elapsed())));
        QVERIFY2(processorTime(host) - before < 500, qPrintable(QString::number(processorTime(host))));
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());
    }

    void failedChild()
    {
        if (m_world.mechanism() == world::Mechanism::Proot) {
            // NOLINTNEXTLINE(clang-diagnostic-gnu-zero-variadic-macro-arguments): QSKIP takes no more
            QSKIP("what stands at the controller's place is then a script, which can always be executed");
        }
        QVERIFY(m_world.world().setController("/nonexistent/controller"));
        const QString line = "Exec failed blue_controller bluetoothmod: No such file or directory";
        const int before = m_world.countInOutput(line);
        SET_ITEM("enabled", true);
        // The copy of the host is gone as soon as it can be, and is waited for when the radio is switched
        // off.
        QTRY_VERIFY(theChildHasEnded());
        QCOMPARE(m_world.countInOutput(line), before + 1);
        COMPARE_ITEM("enabled", true);
        SET_ITEM("enabled", false);
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());

        // The same when the copy comes out of an action, or out of the loading of the configs.
        QCOMPARE(m_world.trigger("cycleradio"), "");
        QTRY_COMPARE(m_world.value("enabled"), QVariant(false));
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());
        const QString pid = QString::number(getpid());
        QCOMPARE(m_world.trigger("requestBluetooth", pid + ",1"), "Success");
        SET_ITEM("enabled", true);
        QCOMPARE(m_world.trigger("requestBluetooth", pid + ",0"), "Success");
        QTRY_VERIFY(theChildHasEnded());
        QVERIFY(m_world.world().restartHost());
        COMPARE_ITEM("enabled", true);
        QTRY_VERIFY(theChildHasEnded());
        QCOMPARE(m_world.countInOutput(line), before + 4);
    }

    void aDeadBorrowerIsFreed()
    {
        SET_ITEM("enabled", true);
        world::ChildProcess borrower;
        QVERIFY(borrower.start({ { "sleep", "60" } }));
        const QString pid = QString::number(borrower.pid());
        QCOMPARE(m_world.trigger("requestBluetooth", pid + ",1"), "Success");
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());
        QVERIFY(QFile::exists("/tmp/bluelock"));

        borrower.signal(SIGKILL);
        QTRY_VERIFY(isZombie(borrower.pid()));
        // It has a process id until its parent has asked for it, and keeps the radio as long; the second
        // between the two flips of a cycle has room for two checks.
        QCOMPARE(m_world.trigger("cycleradio"), "");
        COMPARE_ITEM("enabled", false);
        QTRY_COMPARE(m_world.value("enabled"), QVariant(true));
        QVERIFY(!m_world.isApplicable("enabled"));
        borrower.wait();
        QTRY_VERIFY_WITH_TIMEOUT(m_world.isApplicable("enabled"), 1500);
        QCOMPARE(m_world.hostChildren().size(), 1);
        QVERIFY(!QFile::exists("/tmp/bluelock"));
        const QString gone = QString("Process %1  exited without freeing Bluetooth resource").arg(pid);
        QCOMPARE(m_world.countInOutput(gone), 1);
    }

    void theSettingOutlivesTheHost()
    {
        QVERIFY(switchOn());
        // A write is answered before it is stored, a list after it.
        QVERIFY(m_world.client().list());
        QCOMPARE(kill(m_world.world().hostPid(), SIGKILL), 0);
        QTRY_VERIFY(controllerRuns().constFirst().ended); // the controller does not
        QVERIFY(m_world.world().restartHost());
        COMPARE_ITEM("enabled", true);
        QTRY_COMPARE(controllerRuns().size(), 2);
    }

private:
    [[nodiscard]] bool switchOn() { return m_world.set("enabled", true) && waitForRun(); }

    [[nodiscard]] bool waitForRun()
    {
        bool hasRun = false;
        const auto isDecided = [&] {
            // What has ended by now has written down that it ran, and nothing else will.
            const QList<pid_t> children = m_world.hostChildren();
            const bool ended = std::all_of(children.begin(), children.end(), isZombie);
            hasRun = !controllerRuns().isEmpty();
            return hasRun || ended;
        };
        return Patience::waitFor(isDecided) && hasRun;
    }

    [[nodiscard]] bool theChildHasEnded() const
    {
        const QList<pid_t> children = m_world.hostChildren();
        return children.size() == 1 && isZombie(children.first());
    }
};

MODULE_TEST_MAIN(RadioPowerTest)
#include "RadioPowerTest.moc"

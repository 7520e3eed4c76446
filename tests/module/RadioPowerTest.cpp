// The radio controller as the host's child: how it is started and stopped, and when it is not.
#include "ModuleWorld.h"
#include "support/Rows.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>

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
    void cleanup() { QVERIFY(m_world.daemonLeaves()); }

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

    void aDaemonOnTheBusNeedsNoController()
    {
        QVERIFY(m_world.daemonAppears());
        SET_ITEM("enabled", true);
        QCOMPARE(m_world.hostChildren(), QList<pid_t>());
        QVERIFY(!QFile::exists(Firmware));

        // Switched off, the daemon counts as gone although it is still there.
        SET_ITEM("enabled", false);
        m_world.daemon().takeCalls();
        QCOMPARE(m_world.trigger("scan"), "");
        QVERIFY(switchOn());
        QCOMPARE(callText(m_world.daemon().takeCalls()), "");
        QVERIFY(m_world.daemonLeaves());
        COMPARE_ITEM("enabled", false);
        QVERIFY(controllerRuns().constLast().ended);
    }

    void aControllerThatLeftIsNotReplaced()
    {
        QVERIFY(switchOn());
        const pid_t pid = controllerRuns().constFirst().pid;
        QCOMPARE(kill(pid, SIGTERM), 0);
        QTRY_VERIFY(isZombie(pid)); // nobody looks after it until the radio is switched off
        SET_ITEM("enabled", true);
        QCOMPARE(m_world.hostChildren(), QList<pid_t>{ pid });
    }

    void cycleFlipsTwice_data()
    {
        const Rows<bool> row("first");
        row("off and on", true);
        row("on and off", false);
    }

    void cycleFlipsTwice()
    {
        QFETCH(const bool, first);
        SET_ITEM("enabled", first);
        QElapsedTimer time;
        time.start();
        QCOMPARE(flipsOfACycle(), (QList<bool>{ !first, first }));
        QVERIFY2(time.elapsed() >= 1000, qPrintable(QString::number(time.elapsed())));
        QCOMPARE(m_world.hostChildren().size(), first ? 1 : 0);
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

    /// Calls "cycleradio" and gives the two values that "enabled" took.
    [[nodiscard]] QList<bool> flipsOfACycle()
    {
        QList<bool> flips;
        if (!m_world.client().watch()) {
            return flips;
        }
        const auto connection =
            connect(&m_world.client(), &KELClientInterface::changed, [&](const ipc::ItemRecords& items) {
                for (const ipc::ItemRecord& item : items) {
                    if (item.address.contains(":enabled:") && item.properties.contains("value")) {
                        flips << item.properties["value"].toBool();
                    }
                }
            });
        (void)m_world.trigger("cycleradio");
        (void)Patience::waitFor([&] { return flips.size() == 2; });
        disconnect(connection);
        return flips;
    }
};

MODULE_TEST_MAIN(RadioPowerTest)
#include "RadioPowerTest.moc"

// The radio controller as the host's child: how it is started and stopped, and when it is not.
#include "ModuleWorld.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>

#include <csignal>

class RadioPowerTest : public QObject
{
    Q_OBJECT
public:
    explicit RadioPowerTest(ModuleWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void init();
    void controllerIsStartedAndWaitedFor();
    void controllerGetsTheHostName_data();
    void controllerGetsTheHostName();
    void nothingIsStartedTwice();
    void aDaemonOnTheBusNeedsNoController();
    void aControllerThatLeftIsNotReplaced();
    void cycleFlipsTwice_data();
    void cycleFlipsTwice();
    void secondCycleradioWithinASecond();
    void failedChild();
    void theSettingOutlivesTheHost();
    void theControllerDoesNot();

private:
    [[nodiscard]] bool switchOn();
    [[nodiscard]] bool waitForRun();
    [[nodiscard]] QList<bool> flipsOfCycles(int calls);

    ModuleWorld& m_world;
};

namespace {

const QString Firmware = "/tmp/bt.bts";

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

void RadioPowerTest::init()
{
    QVERIFY(m_world.set("enabled", false));
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());
    QVERIFY(m_world.world().setController(RECORDING_CONTROLLER));
    for (const char* file : { "/tmp/controller.runs", "/tmp/hostname", "/tmp/bt.bts" })
        QFile::remove(file);
}

bool RadioPowerTest::waitForRun()
{
    return QTest::qWaitFor([] { return !controllerRuns().isEmpty(); });
}

bool RadioPowerTest::switchOn()
{
    return m_world.set("enabled", true) && waitForRun();
}

void RadioPowerTest::controllerIsStartedAndWaitedFor()
{
    QVERIFY(switchOn());
    const ControllerRun run = controllerRuns().constFirst();
    QCOMPARE(m_world.hostChildren(), QList<pid_t>{ run.pid });
    QCOMPARE(run.parentDeathSignal, SIGTERM);
    QVERIFY(!run.sigtermBlocked);
    QVERIFY(QFile::exists(Firmware));

    // The write is answered when the radio is off: the controller has ended and left no zombie.
    QVERIFY(m_world.set("enabled", false));
    QVERIFY(controllerRuns().constFirst().ended);
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());
}

void RadioPowerTest::controllerGetsTheHostName_data()
{
    QTest::addColumn<QByteArray>("printed");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("with its line end") << QByteArray("inst42\n") << QByteArray("TORLO-inst42\n");
    QTest::newRow("no line end") << QByteArray("inst42") << QByteArray("TORLO-inst42");
    QTest::newRow("first line") << QByteArray("a b\nc\n") << QByteArray("TORLO-a b\n");
    QTest::newRow("empty line") << QByteArray("\n") << QByteArray("TORLO-\n");
    QTest::newRow("nothing") << QByteArray() << QByteArray("TORLO-EKS");
    QTest::newRow("127 characters") << QByteArray(127, 'n') + '\n' << "TORLO-" + QByteArray(127, 'n');
    QTest::newRow("200 characters") << QByteArray(200, 'n') + '\n' << "TORLO-" + QByteArray(127, 'n');
    QTest::newRow("no text") << QByteArray("\xff\xfe\n") << QByteArray("TORLO-\xff\xfe\n");
}

void RadioPowerTest::controllerGetsTheHostName()
{
    QFETCH(const QByteArray, printed);
    QFETCH(const QByteArray, name);
    writeFile("/tmp/hostname", printed);
    QVERIFY(switchOn());
    QCOMPARE(controllerRuns().constFirst().arguments,
             (QList<QByteArray>{ "/usr/bin/blue_controller_zq4", name, "1", "1" }));
}

void RadioPowerTest::nothingIsStartedTwice()
{
    QVERIFY(switchOn());
    QVERIFY(QFile::remove(Firmware));
    // Every write switches, also that of the same value.
    QVERIFY(m_world.set("enabled", true));
    QCOMPARE(m_world.hostChildren().size(), 1);
    QVERIFY(!QFile::exists(Firmware));
}

void RadioPowerTest::aDaemonOnTheBusNeedsNoController()
{
    QVERIFY(m_world.daemonAppears());
    QVERIFY(m_world.set("enabled", true));
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());
    QVERIFY(!QFile::exists(Firmware));

    // Switched off, the daemon counts as gone although it is still there.
    QVERIFY(m_world.set("enabled", false));
    m_world.daemon().takeCalls();
    QCOMPARE(m_world.trigger("scan"), "");
    QVERIFY(switchOn());
    QCOMPARE(m_world.daemon().takeCalls(), QList<ScriptedDaemon::Call>());
    QVERIFY(m_world.daemonLeaves());
    QCOMPARE(m_world.value("enabled"), QVariant(false));
    QVERIFY(controllerRuns().constLast().ended);
}

void RadioPowerTest::aControllerThatLeftIsNotReplaced()
{
    QVERIFY(switchOn());
    const pid_t pid = controllerRuns().constFirst().pid;
    QCOMPARE(kill(pid, SIGTERM), 0);
    QTRY_VERIFY(isZombie(pid)); // nobody looks after it until the radio is switched off
    QVERIFY(m_world.set("enabled", true));
    QCOMPARE(m_world.hostChildren(), QList<pid_t>{ pid });
}

void RadioPowerTest::cycleFlipsTwice_data()
{
    QTest::addColumn<bool>("first");
    QTest::newRow("off and on") << true;
    QTest::newRow("on and off") << false;
}

/// Calls "cycleradio" and gives what "enabled" became one after the other, two values for each call.
QList<bool> RadioPowerTest::flipsOfCycles(int calls)
{
    QList<bool> flips;
    if (!m_world.client().watch())
        return flips;
    const auto connection =
        connect(&m_world.client(), &KELClientInterface::changed, [&](const ipc::ItemRecords& items) {
            for (const ipc::ItemRecord& item : items) {
                if (item.address.contains(":enabled:") && item.properties.contains("value"))
                    flips << item.properties["value"].toBool();
            }
        });
    for (int i = 0; i < calls; ++i)
        (void)m_world.trigger("cycleradio");
    (void)QTest::qWaitFor([&] { return flips.size() == 2 * calls; });
    disconnect(connection);
    return flips;
}

void RadioPowerTest::cycleFlipsTwice()
{
    QFETCH(const bool, first);
    QVERIFY(m_world.set("enabled", first));
    QElapsedTimer time;
    time.start();
    QCOMPARE(flipsOfCycles(1), (QList<bool>{ !first, first }));
    QVERIFY2(time.elapsed() >= 1000, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(m_world.hostChildren().size(), first ? 1 : 0);
}

void RadioPowerTest::secondCycleradioWithinASecond()
{
    // It is the second flip; the timer that is still pending then begins a cycle of its own, which ends one
    // more second later.
    QVERIFY(m_world.set("enabled", true));
    QElapsedTimer time;
    time.start();
    QCOMPARE(flipsOfCycles(2), (QList<bool>{ false, true, false, true }));
    QVERIFY2(time.elapsed() >= 2000, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(m_world.hostChildren().size(), 1);
}

void RadioPowerTest::failedChild()
{
    if (m_world.mechanism() == world::Mechanism::Proot)
        // NOLINTNEXTLINE(clang-diagnostic-gnu-zero-variadic-macro-arguments): QSKIP takes no more
        QSKIP("what stands at the controller's place is then a script, which can always be executed");
    QVERIFY(m_world.world().setController("/nonexistent/controller"));
    const QString line = "Exec failed blue_controller bluetoothmod: No such file or directory";
    const int before = m_world.countInOutput(line);
    QVERIFY(m_world.set("enabled", true));
    const QList<pid_t> children = m_world.hostChildren();
    QCOMPARE(children.size(), 1);
    // The copy of the host is gone as soon as it can be, and is waited for when the radio is switched off.
    QTRY_VERIFY(isZombie(children.first()));
    QCOMPARE(m_world.countInOutput(line), before + 1);
    QCOMPARE(m_world.value("enabled"), QVariant(true));
    QVERIFY(m_world.set("enabled", false));
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());

    // The same when the copy comes out of an action, or out of the loading of the configs.
    QCOMPARE(m_world.trigger("cycleradio"), "");
    QTRY_COMPARE(m_world.value("enabled"), QVariant(false));
    QCOMPARE(m_world.hostChildren(), QList<pid_t>());
    const QString pid = QString::number(getpid());
    QCOMPARE(m_world.trigger("requestBluetooth", pid + ",1"), "Success");
    QVERIFY(m_world.set("enabled", true));
    QCOMPARE(m_world.trigger("requestBluetooth", pid + ",0"), "Success");
    QTRY_VERIFY(isZombie(m_world.hostChildren().constFirst()));
    QCOMPARE(m_world.world().restartHost(), QString());
    QCOMPARE(m_world.value("enabled"), QVariant(true));
    QTRY_VERIFY(isZombie(m_world.hostChildren().constFirst()));
    QCOMPARE(m_world.countInOutput(line), before + 4);
}

void RadioPowerTest::theSettingOutlivesTheHost()
{
    QVERIFY(switchOn());
    m_world.world().stopHost();
    QTRY_VERIFY(controllerRuns().constFirst().ended);
    QCOMPARE(m_world.world().restartHost(), QString());
    QCOMPARE(m_world.value("enabled"), QVariant(true));
    QTRY_COMPARE(controllerRuns().size(), 2);
}

void RadioPowerTest::theControllerDoesNot()
{
    QVERIFY(switchOn());
    QCOMPARE(kill(m_world.world().hostPid(), SIGKILL), 0);
    QTRY_VERIFY(controllerRuns().constFirst().ended);
    QCOMPARE(m_world.world().restartHost(), QString());
}

int main(int argc, char** argv)
{
    return runInModuleWorld<RadioPowerTest>(argc, argv);
}

#include "RadioPowerTest.moc"

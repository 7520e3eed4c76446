// A walk through the module is recorded at the daemon; played to the module again, its items end up the same.
#include "SimulatedWorld.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>

class RecordReplayTest : public QObject
{
    Q_OBJECT
public:
    explicit RecordReplayTest(testkit::SimulatedWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void tourReplays();
    void refusesWhatIsNoRecording_data();
    void refusesWhatIsNoRecording();

private:
    class Watcher;
    void recordTour(const QString& file, QMap<QString, QString>& values);
    void replay(const QString& file);
    [[nodiscard]] QString program(const char* name) const { return world::World::binFolder() + '/' + name; }

    testkit::SimulatedWorld& m_world;
    QTemporaryDir m_folder{ QStringLiteral("/tmp/recording-XXXXXX") };
};

/// Of each item that follows the daemon the last value that was more than nothing: switching off clears them.
/// Not of the status: "off" is told while the module waits for the end of its controller, and seen only where
/// it does not.
class RecordReplayTest::Watcher : public QObject
{
public:
    // By a client of its own: a new look at the items takes for known what another waits for.
    Watcher()
        : m_client("tov.base.bluetoothlauncher", QDBusConnection::sessionBus())
        , m_isGood(m_client.watch())
    {
        connect(&m_client, &KELClientInterface::changed, this, [this](const ipc::ItemRecords& items) {
            for (const ipc::ItemRecord& item : items)
                note(item);
        });
    }
    [[nodiscard]] bool isGood() const { return m_isGood; }
    QMap<QString, QString> values;

private:
    void note(const ipc::ItemRecord& item)
    {
        static const QRegularExpression followsTheDaemon(
            "^:result:bluetoothlauncher:bluetooth:(scanstate|pairstate|confirmationcode|pendingpair|"
            "isAnyDeviceConnected|pairlist|scanresults)");
        const QString value = item.properties.value("value").toString();
        const bool isNothing = value.isEmpty() || value == "0" || value == "false";
        if (!isNothing && followsTheDaemon.match(item.address).hasMatch())
            values[item.address] = value;
    }

    KELClientInterface m_client;
    bool m_isGood;
};

void RecordReplayTest::recordTour(const QString& file, QMap<QString, QString>& values)
{
    QProcess recorder;
    recorder.start(program("simctl"), QStringList{ "record", file });
    recorder.setReadChannel(QProcess::StandardError);
    QVERIFY(recorder.waitForReadyRead());
    qputenv("BLUESIM_TIME_SCALE", "20"); // for what the host starts
    testkit::SimulationOptions options;
    options.isPaused = false;
    const bool started = m_world.start(options);
    qunsetenv("BLUESIM_TIME_SCALE");
    QVERIFY2(started, qPrintable(m_world.problem()));
    const Watcher watcher;
    QVERIFY(watcher.isGood());
    QProcess tour;
    tour.start(program("bluetoothtour"), QStringList());
    QVERIFY(QTest::qWaitFor([&] { return tour.state() == QProcess::NotRunning; }, 60'000));
    QCOMPARE(tour.exitCode(), 0);
    recorder.terminate();
    QVERIFY(recorder.waitForFinished());
    QCOMPARE(recorder.exitCode(), 0);
    values = watcher.values;
}

// The module reads everything when the daemon comes, so each coming and going is waited for; all else
// arrives in its order.
void RecordReplayTest::replay(const QString& file)
{
    QFile lines(file);
    QVERIFY(lines.open(QIODevice::ReadOnly));
    double begin = -1;
    double last = 0;
    int appearances = 0;
    while (!lines.atEnd()) {
        const QJsonObject event = QJsonDocument::fromJson(lines.readLine()).object();
        const double time = event.value("time").toDouble();
        begin = begin < 0 ? time : begin;
        QVERIFY2(m_world.step(time - begin - last), qPrintable(m_world.problem()));
        last = time - begin;
        if (event.contains("appeared")) {
            ++appearances;
            const QJsonValue status =
                event.value("appeared").toObject().value("status").toObject().value("value");
            QVERIFY2(m_world.waitFor("status", QString::number(status.toInt())),
                     qPrintable(m_world.problem()));
        } else if (event.value("signal") == "pairStateChanged") {
            // Not two of them in one turn of the host, which would tell its clients of the last alone.
            const QJsonValue state = event.value("value").toObject().value("value");
            QVERIFY(m_world.waitFor("pairstate", QString::number(state.toInt())));
        } else if (event.value("signal") == "pairListChanged") {
            const QJsonArray pairs = event.value("value").toObject().value("value").toArray();
            const bool isConnected = std::any_of(pairs.begin(), pairs.end(), [](const QJsonValue& pair) {
                return pair.toArray().at(2).toInt() != 0;
            });
            QVERIFY(m_world.waitFor("isAnyDeviceConnected", isConnected ? "true" : "false"));
        } else if (event.contains("left")) {
            QVERIFY(m_world.waitForApplicable("scan", false));
        }
    }
    QCOMPARE(appearances, 2); // the loan of the radio was in between
}

void RecordReplayTest::tourReplays()
{
    const QString file = m_folder.filePath("tour.rec");
    QMap<QString, QString> recorded;
    recordTour(file, recorded);
    QVERIFY(recorded.size() > 30);

    testkit::SimulationOptions options;
    options.scenario = file;
    QVERIFY2(m_world.start(options), qPrintable(m_world.problem()));
    const Watcher watcher;
    QVERIFY(watcher.isGood());
    QVERIFY2(m_world.startOwnDaemon(), qPrintable(m_world.problem()));
    replay(file);
    const bool isSame = QTest::qWaitFor([&] { return watcher.values == recorded; });
    QString difference;
    for (auto item = recorded.begin(); item != recorded.end(); ++item) {
        if (watcher.values.value(item.key()) != item.value())
            difference +=
                item.key() + ' ' + watcher.values.value(item.key()) + ", recorded " + item.value() + '\n';
    }
    QVERIFY2(isSame, qPrintable(difference));
}

void RecordReplayTest::refusesWhatIsNoRecording_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");
    QTest::newRow("empty") << QByteArray() << "no daemon appears in this recording";
    QTest::newRow("no JSON") << QByteArray("{\n") << ".rec:1: no line of a recording";
    QTest::newRow("no time") << QByteArray("{ \"left\": true }\n") << ".rec:1: no line of a recording";
    QTest::newRow("another type")
        << QByteArray("\n{ \"time\": 1, \"signal\": \"statusChanged\", \"value\": { \"type\": \"h\" } }\n")
        << ".rec:2: no line of a recording: a value of the D-Bus type \"h\" cannot be replayed";
}

void RecordReplayTest::refusesWhatIsNoRecording()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, problem);
    QFile file(m_folder.filePath("wrong.rec"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size());
    file.close();
    QProcess check;
    check.start(program("bluesim"), QStringList{ "--check-scenario", file.fileName() });
    QVERIFY(check.waitForFinished());
    QCOMPARE(check.exitCode(), 2);
    const QString said = QString::fromUtf8(check.readAllStandardError());
    QVERIFY2(said.contains(problem), qPrintable(said));
}

BLUETOOTH_TESTKIT_MAIN(RecordReplayTest)
#include "RecordReplayTest.moc"

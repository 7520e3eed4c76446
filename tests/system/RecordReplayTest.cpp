// A walk through the module is recorded at the daemon; played to the module again, its items end up the same.
#include "SimulatedWorld.h"
#include "client/KELClientInterface.h"
#include "support/Programs.h"
#include "support/Rows.h"
#include "world/World.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>

namespace {

/// Of each item that follows the daemon the last value that was more than nothing: switching off clears them.
/// Not of the status: "off" is told while the module waits for the end of its controller, and seen only where
/// it does not. Nor of a pairing's code and name: a recorder that was kept waiting notes their coming and
/// going at one time, and the host tells its clients of neither then.
class Watcher : public QObject
{
public:
    // By a client of its own: a new look at the items takes for known what another waits for.
    Watcher()
        : m_client("tov.base.bluetoothlauncher", QDBusConnection::sessionBus())
        , m_isGood(m_client.watch())
    {
        connect(&m_client, &KELClientInterface::changed, this, [this](const ipc::ItemRecords& items) {
            for (const ipc::ItemRecord& item : items) {
                note(item);
            }
        });
    }
    [[nodiscard]] bool isGood() const { return m_isGood; }
    QMap<QString, QString> values;

private:
    void note(const ipc::ItemRecord& item)
    {
        static const QRegularExpression followsTheDaemon(
            "^:result:bluetoothlauncher:bluetooth:(scanstate|pairstate|"
            "isAnyDeviceConnected|pairlist|scanresults)");
        const QString value = item.properties.value("value").toString();
        const bool isNothing = value.isEmpty() || value == "0" || value == "false";
        if (!isNothing && followsTheDaemon.match(item.address).hasMatch()) {
            values[item.address] = value;
        }
    }

    KELClientInterface m_client;
    bool m_isGood;
};

} // namespace

class RecordReplayTest : public QObject
{
    Q_OBJECT

public:
    explicit RecordReplayTest(testkit::SimulatedWorld& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void tourReplays()
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
            if (watcher.values.value(item.key()) != item.value()) {
                difference +=
                    item.key() + ' ' + watcher.values.value(item.key()) + ", recorded " + item.value() + '\n';
            }
        }
        QVERIFY2(isSame, qPrintable(difference));
    }

    void anyValueReplays();
    void refusesWhatIsNoRecording_data();

    void refusesWhatIsNoRecording()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, problem);
        QFile file(m_folder.filePath("wrong.rec"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size());
        file.close();
        const Finished check = run(program("bluesim"), { "--check-scenario", file.fileName() });
        QCOMPARE(check.status, 2);
        QVERIFY2(check.err.contains(problem), qPrintable(check.err));
    }

private:
    void recordTour(const QString& file, QMap<QString, QString>& values)
    {
        QProcess recorder;
        recorder.start(program("simctl"), QStringList{ "record", file });
        recorder.setReadChannel(QProcess::StandardError);
        QVERIFY(recorder.waitForReadyRead());
        qputenv("BLUESIM_TIME_SCALE", "5"); // for what the host starts; the tour has to see every state
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
        QVERIFY2(tour.exitCode() == 0, tour.readAllStandardOutput().right(1000));
        recorder.terminate();
        QVERIFY(recorder.waitForFinished());
        QCOMPARE(recorder.exitCode(), 0);
        values = watcher.values;
    }

    /// What the module's items have to come to because of an event, before time goes on: each coming and
    /// going of the daemon, which the module answers by reading everything, and each state of a pairing, of
    /// which the host would tell its clients the last alone if two came in one turn.
    static QMap<QString, QString> outcome(const QJsonObject& event)
    {
        const QJsonValue value = event.value("value").toObject().value("value");
        if (event.contains("appeared")) {
            const QJsonObject status = event.value("appeared").toObject().value("status").toObject();
            return { { "status", QString::number(status.value("value").toInt()) } };
        }
        if (event.value("signal") == "pairStateChanged") {
            return { { "pairstate", QString::number(value.toInt()) } };
        }
        if (event.value("signal") == "pairListChanged") {
            const QJsonArray pairs = value.toArray();
            const bool isConnected = std::any_of(pairs.begin(), pairs.end(), [](const QJsonValue& pair) {
                return pair.toArray().at(2).toInt() != 0;
            });
            return { { "isAnyDeviceConnected", isConnected ? "true" : "false" } };
        }
        return {};
    }

    void replay(const QString& file)
    {
        QFile lines(file);
        QVERIFY(lines.open(QIODevice::ReadOnly));
        // By whole milliseconds, as the replay has it: what is rounded at each step drifts from it, and what
        // fell into one of them comes at once.
        QMap<qint64, QList<QJsonObject>> events;
        while (!lines.atEnd()) {
            const QJsonObject event = QJsonDocument::fromJson(lines.readLine()).object();
            events[std::llround(event.value("time").toDouble() * 1000)] << event;
        }
        QVERIFY(!events.isEmpty());
        int appearances = 0;
        qint64 last = events.firstKey();
        for (auto moment = events.begin(); moment != events.end(); ++moment) {
            QVERIFY2(m_world.step(static_cast<double>(moment.key() - last) / 1000),
                     qPrintable(m_world.problem()));
            last = moment.key();
            QMap<QString, QString> outcomes;
            bool isAway = false; // and not back within the same millisecond
            for (const QJsonObject& event : *moment) {
                appearances += event.contains("appeared") ? 1 : 0;
                isAway = event.contains("left") || (isAway && !event.contains("appeared"));
                const QMap<QString, QString> ofOne = outcome(event);
                for (auto item = ofOne.begin(); item != ofOne.end(); ++item) {
                    outcomes.insert(item.key(), item.value());
                }
            }
            if (isAway) {
                QVERIFY2(m_world.waitForApplicable("scan", false), qPrintable(m_world.problem()));
            }
            for (auto item = outcomes.begin(); item != outcomes.end(); ++item) {
                QVERIFY2(m_world.waitFor(item.key(), item.value()), qPrintable(m_world.problem()));
            }
        }
        QCOMPARE(appearances, 2); // the loan of the radio was in between
    }

    [[nodiscard]] QString program(const char* name) const { return world::World::binFolder() + '/' + name; }

    testkit::SimulatedWorld& m_world;
    QTemporaryDir m_folder{ "/tmp/recording-XXXXXX" };
};

// What is played is recorded again, line for line.
void RecordReplayTest::anyValueReplays()
{
    QList<QByteArray> lines{ R"("appeared":{"scanState":{"type":"a{iv}","value":[]}}})" };
    for (
        const char* value :
        { R"x("y","value":255)x", R"x("x","value":-9223372036854775808)x",
          R"x("t","value":18446744073709551615)x", R"x("d","value":"NaN")x", R"x("d","value":0.1)x",
          R"x("o","value":"/a/b")x", R"x("g","value":"a{sv}")x", R"x("ay","value":[0,255])x",
          R"x("as","value":[])x", R"x("a(tis)","value":[])x",
          R"x("(asayav)","value":[["x"],[1],[{"type":"(u)","value":[1]}]])x",
          R"x("aa{s(iv)}","value":[[["z",[1,{"type":"v","value":{"type":"n","value":-2}}]],["a",[2,{"type":"b","value":true}]]]])x" }) {
        lines << R"("signal":"another","value":{"type":)" + QByteArray(value) + "}}";
    }
    lines
        << R"("signal":"two","arguments":[{"type":"i","value":1},{"type":"v","value":{"type":"q","value":2}}]})"
        << R"("property":"scanState","value":{"type":"u","value":3}})" // seen because of that signal
        << R"("handover":true})"
        << R"("signal":"scanStateChanged","value":{"type":"s","value":"3"}})"
        << R"("left":true})";
    QFile file(m_folder.filePath("any.rec"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    int time = -1;
    for (const QByteArray& line : qAsConst(lines)) {
        time += line.startsWith("\"property") ? 0 : 1;
        file.write("{\"time\":" + QByteArray::number(time) + ',' + line + '\n');
    }
    file.close();

    testkit::SimulationOptions options;
    options.scenario = file.fileName();
    QVERIFY2(m_world.start(options), qPrintable(m_world.problem()));
    QFile again(m_folder.filePath("again.rec"));
    QProcess recorder;
    recorder.setReadChannel(QProcess::StandardError);
    recorder.start(program("simctl"), QStringList{ "record", again.fileName() });
    QVERIFY(recorder.waitForReadyRead());
    QVERIFY(again.open(QIODevice::ReadOnly));
    QVERIFY2(m_world.startOwnDaemon(), qPrintable(m_world.problem()));
    for (int i = 0; i < lines.size(); ++i) {
        if (i > 0 && !lines.at(i).startsWith("\"property")) {
            QVERIFY(m_world.step(1));
        }
        QByteArray line; // whole: a line is written at once
        QTRY_VERIFY2(!line.isEmpty() || !(line = again.readLine().trimmed()).isEmpty(), lines.at(i));
        QCOMPARE(line.mid(line.indexOf(',') + 1), lines.at(i));
    }
    recorder.terminate();
    QVERIFY(recorder.waitForFinished());
}

void RecordReplayTest::refusesWhatIsNoRecording_data()
{
    const Rows<QByteArray, QString> file("text", "problem");
    file("empty", "", ".rec:1: no daemon appears in this recording; it needs a line like");
    const auto row = [&file](const char* name, const QByteArray& line, const char* problem) {
        file(name, "{\"time\":2,\"appeared\":{}}\n" + line, QString(".rec:2: ") + problem);
    };
    row("breaks off", R"({"time":3,"left":tr)", "this line breaks off");
    row("no JSON", R"({"time":3,"left":})", "this line is no JSON at its byte 18");
    row("no time", R"({"left":true})", "\"time\" is missing but has to be a number of seconds from 0");
    row("negative", R"({"time":-5,"left":true})", "\"time\" is -5 but has to be");
    row("endless", R"({"time":1e300,"left":true})", "\"time\" is 1e+300 but has to be");
    row("earlier", R"({"time":1,"left":true})", "\"time\" is 1, before the 2 of the line above");
    row("no event", R"({"time":3})", "a line has one of \"appeared\"");
    row("no name", R"({"time":3,"signal":"","value":{"type":"i","value":1}})",
        R"("signal" is "", which is no name)");
    row("no name either", R"({"time":3,"appeared":{"a-b":{"type":"i","value":1}}})",
        R"("appeared" has the property "a-b", which)");
    const auto value = [&row](const char* name, const QByteArray& typed, const char* problem) {
        row(name, R"({"time":3,"signal":"statusChanged","value":)" + typed + "}", problem);
    };
    value("another type", R"({"type":"h","value":1})",
          R"("value" of statusChanged has the "type" "h" but needs)");
    value("too large", R"({"type":"i","value":99999999999999})",
          "\"value\" of statusChanged is 99999999999999 but has to be a whole number");
    value("a fraction", R"x({"type":"a(ti)","value":[[1,1.5]]})x",
          R"("value" of statusChanged at [0][1] is 1.5)");
}

BLUETOOTH_TESTKIT_MAIN(RecordReplayTest)
#include "RecordReplayTest.moc"

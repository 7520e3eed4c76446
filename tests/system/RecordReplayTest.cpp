// What simctl records at a daemon, the simulated radio plays: recorded again, it is the same line for line.
#include "SystemTest.h"
#include "World.h"
#include "support/Programs.h"
#include "support/Rows.h"
#include "support/TableFile.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>

namespace {

QString program(const char* name)
{
    return world::World::binFolder() + '/' + name;
}

/// Notes what the daemon does until it is told to stop.
class Recorder
{
public:
    explicit Recorder(const QString& file)
    {
        m_process.setReadChannel(QProcess::StandardError);
        m_process.start(program("simctl"), { "record", file });
    }
    [[nodiscard]] bool isReady() { return m_process.waitForReadyRead(); }
    [[nodiscard]] bool stop()
    {
        m_process.terminate();
        return m_process.waitForFinished() && m_process.exitCode() == 0;
    }

private:
    QProcess m_process;
};

} // namespace

class RecordReplayTest : public SystemTest
{
    Q_OBJECT

public:
    using SystemTest::SystemTest;

private Q_SLOTS:
    // With all that the module has a radio do; its loan is in between, so that the daemon goes and comes
    // back.
    void tourReplays()
    {
        const QString file = m_folder.filePath("tour.rec");
        Recorder recorder(file);
        QVERIFY(recorder.isReady());
        qputenv("BLUESIM_TIME_SCALE", "5"); // for what the host starts
        testkit::SimulationOptions options;
        options.isPaused = false;
        const bool started = m_world.start(options);
        qunsetenv("BLUESIM_TIME_SCALE");
        QVERIFY2(started, why());
        QProcess tour;
        tour.start(program("bluetoothtour"), QStringList());
        QVERIFY(QTest::qWaitFor([&] { return tour.state() == QProcess::NotRunning; }, 60'000));
        QVERIFY2(tour.exitCode() == 0, tour.readAllStandardOutput().right(1000));
        QVERIFY(recorder.stop());
        replaysTheSame(file, 50);
    }

    void anyValueReplays()
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
        replaysTheSame(file.fileName(), lines.size());
    }

    void refusesWhatIsNoRecording_data()
    {
        const Rows<QString, QString> row("text", "problem");
        row("empty", "", ".rec:1: no daemon appears in this recording; it needs a line like");
        for (const TableCase& wrong : readTable(WRONG_RECORDINGS)) {
            row(wrong.name.constData(), "{\"time\":2,\"appeared\":{}}\n" + wrong["line"],
                ".rec:2: " + wrong["says"]);
        }
    }

    void refusesWhatIsNoRecording()
    {
        QFETCH(QString, text);
        QFETCH(QString, problem);
        QFile file(m_folder.filePath("wrong.rec"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text.toUtf8()) >= 0);
        file.close();
        const Finished check = run(program("bluesim"), { "--check-scenario", file.fileName() });
        QCOMPARE(check.status, 2);
        QVERIFY2(check.err.contains(problem), qPrintable(check.err));
    }

private:
    void replaysTheSame(const QString& file, int least)
    {
        QFile lines(file);
        QVERIFY(lines.open(QIODevice::ReadOnly));
        // By whole milliseconds, as the replay has it: what fell into one of them comes at once.
        QMap<qint64, QList<QByteArray>> moments;
        int count = 0;
        for (; !lines.atEnd(); ++count) {
            const QByteArray line = lines.readLine();
            const double time = QJsonDocument::fromJson(line).object().value("time").toDouble();
            moments[std::llround(time * 1000)] << withoutTime(line);
        }
        QVERIFY2(count >= least, qPrintable(QString::number(count)));

        testkit::SimulationOptions options;
        options.scenario = file;
        QVERIFY2(m_world.start(options), why());
        QFile again(m_folder.filePath("again.rec"));
        Recorder recorder(again.fileName());
        QVERIFY(recorder.isReady());
        QVERIFY(again.open(QIODevice::ReadOnly));
        QVERIFY2(m_world.startOwnDaemon(), why());
        qint64 last = moments.firstKey();
        for (auto moment = moments.begin(); moment != moments.end(); ++moment) {
            QVERIFY2(m_world.step(static_cast<double>(moment.key() - last) / 1000), why());
            last = moment.key();
            QList<QByteArray> found;
            for (const QByteArray& line : qAsConst(*moment)) {
                QByteArray next; // whole: a line is written at once
                QTRY_VERIFY2(!next.isEmpty() || !(next = again.readLine()).isEmpty(), line);
                found << withoutTime(next);
            }
            std::sort(found.begin(), found.end());
            std::sort(moment->begin(), moment->end());
            QCOMPARE(found, *moment);
        }
        QVERIFY(recorder.stop());
        QCOMPARE(again.readAll(), QByteArray());
    }
    static QByteArray withoutTime(const QByteArray& line) { return line.mid(line.indexOf(',')); }

    QTemporaryDir m_folder{ "/tmp/recording-XXXXXX" };
};

BLUETOOTH_TESTKIT_MAIN(RecordReplayTest)
#include "RecordReplayTest.moc"

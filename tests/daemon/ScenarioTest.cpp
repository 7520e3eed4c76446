#include "ScenarioFiles.h"
#include "ScenarioReader.h"
#include "support/ProblemOf.h"
#include "support/Rows.h"
#include "support/TableFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

using namespace std::chrono_literals;

namespace {

QByteArray textOf(const TableCase& wrong)
{
    if (const QByteArray device = wrong["device"].toUtf8(); !device.isEmpty()) {
        return "{ \"devices\": [\n { \"address\": \"00:00:00:00:00:01\",\n" + device + "\n} ] }";
    }
    if (const QByteArray event = wrong["event"].toUtf8(); !event.isEmpty()) {
        return "{ \"devices\": [ { \"address\": \"00:00:00:00:00:01\", \"name\": \"Phone\" } ],\n"
               "\"timeline\": [\n{ "
            + event + " } ] }";
    }
    return wrong["text"].toUtf8();
}

} // namespace

class ScenarioTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsEverything();

    void saysWhatIsWrong_data()
    {
        const Rows<QByteArray, int, QString> row("text", "line", "problem");
        const QList<TableCase> mistakes = readTable(WRONG_SCENARIOS);
        QVERIFY(!mistakes.isEmpty());
        for (const TableCase& wrong : mistakes) {
            const QString says = wrong["says"];
            row(wrong.name.constData(), textOf(wrong), says.section(':', 0, 0).toInt(),
                says.section(": ", 1));
        }
        row("nothing", " \n", 1, "unexpected end of input");
        row("a zero byte", QByteArray("{ \"devices\": [] }\r\0x", 20), 2, "zero byte");
        row("Latin 1", "{\n\"description\": \"B\xfc ro\"", 2, "ill-formed UTF-8");
        row("abyss", "{\n\"devices\":" + QByteArray(200'000, '['), 2, "nested more than 32 deep");
        row("old line ends", "{ \"devices\": [],\r\"colour\": 1 }", 2,
            "\"colour\" is no field of a scenario; there are $schema, description, devices, timeline");
    }

    void saysWhatIsWrong()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, line);
        QFETCH(QString, problem);
        const auto read = bt::readScenario(text);
        QVERIFY(!read);
        QVERIFY2(read.error().text.contains(problem), qPrintable(read.error().text));
        QCOMPARE(read.error().line, line);
    }

    // Before it is read: nobody waits for a pipe, and nobody reads a disk image.
    void refusesWhatIsNoScenarioFile()
    {
        const QTemporaryDir folder;
        const QString pipe = folder.filePath(QStringLiteral("pipe"));
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), S_IRWXU), 0);
        QFile large(folder.filePath(QStringLiteral("large")));
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(16 * 1024 * 1024 + 1));
        for (const QString& path : { pipe, folder.path(), large.fileName() }) {
            const QString problem = problemOf(bt::checkScenario(path));
            const QString reason = path == large.fileName() ? " is too large; 16 MiB" : " is no regular file";
            QVERIFY2(problem.startsWith(path + reason), qPrintable(problem));
        }
    }
};

void ScenarioTest::readsEverything()
{
    const auto read = bt::readScenario("\xef\xbb\xbf"
                                       R"({
        "description": "x",
        "devices": [
            { "address": "0a:1b:2c:3d:4e:5f", "name": "Lamp", "class": "0x5a020c", "rssi": -71,
              "moves": { "to": -90, "in": 2.5, "returns": true },
              "pairing": "code", "code": "000000", "is": ["headset", "ios", "app"], "paired": true },
            { "address": "00:00:00:00:00:01", "class": "010", "pairing": "times-out", "is": ["wifed"], "absent": true },
            { "address": "00:00:00:00:00:02", "is": [] }
        ],
        "timeline": [
            { "after": 9, "move": "Lamp", "to": -30, "in": 4 },
            { "after": 0.5, "appear": "00:00:00:00:00:01" }
        ]
    })");
    QVERIFY2(read, qPrintable(problemOf(read)));
    const bt::Scenario& scenario = *read;
    QCOMPARE(scenario.devices.size(), 3U);
    const bt::SimulatedDevice& lamp = scenario.devices.front();
    QCOMPARE(lamp.address, 0x0A1B2C3D4E5FULL);
    QCOMPARE(lamp.deviceClass, 0x5A020CU);
    QCOMPARE(lamp.signalStrength, -71);
    QCOMPARE(lamp.code, "000000");
    QCOMPARE(lamp.connection, 2U + 4U);
    QVERIFY(lamp.companion && lamp.paired && lamp.present && lamp.movement->returns);
    QCOMPARE(scenario.devices.back().connection, 1U);
    const bt::SimulatedDevice& other = scenario.devices.at(1);
    QCOMPARE(other.connection, 1U);
    QCOMPARE(other.deviceClass, 10U);
    QVERIFY(other.wifed && !other.present && other.name.isEmpty());
    QVERIFY(other.answer == bt::SimulatedDevice::Answer::Silent);
    QCOMPARE(scenario.timeline.size(), 2U);
    QVERIFY(scenario.timeline.front().time == 500ms); // by time, whatever their order in the file
    QVERIFY(scenario.timeline.back().duration == 4s);
    QCOMPARE(scenario.timeline.back().address, lamp.address);
}

QTEST_GUILESS_MAIN(ScenarioTest)
#include "ScenarioTest.moc"

#include "JsonTree.h"
#include "ScenarioFiles.h"
#include "ScenarioReader.h"
#include "support/Rows.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

using namespace std::chrono_literals;

class ScenarioTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsEverything();
    void saysWhatIsWrong_data();
    void saysWhatIsWrong();
    void refusesWhatIsNoScenarioFile();
    void shippedFilesCanBeRead_data();
    void shippedFilesCanBeRead();
    void schemaKnowsTheSameWords();
    void schemaAgrees();
    void signalsMove();
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
    const auto* problem = std::get_if<bt::TextProblem>(&read);
    QVERIFY2(problem == nullptr, problem != nullptr ? qPrintable(problem->text) : "");
    const auto& scenario = std::get<bt::Scenario>(read);
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

namespace {

struct Mistake
{
    const char* name;
    QByteArray text;
    int line;
    const char* problem; ///< a part of it
    bool isInSchema = true; ///< what a schema can say
};

QByteArray device(const QByteArray& members)
{
    return "{ \"devices\": [\n { \"address\": \"00:00:00:00:00:01\",\n" + members + "\n} ] }";
}

QByteArray event(const QByteArray& members)
{
    return "{ \"devices\": [ { \"address\": \"00:00:00:00:00:01\", \"name\": \"Phone\" } ],\n"
           "\"timeline\": [\n{ "
        + members + " } ] }";
}

std::vector<Mistake> mistakesInJson()
{
    return {
        { "wrong bracket", "{\n \"devices\": [\n ] ]", 3, R"(no JSON: "]" is out of place; an object is {)" },
        { "nothing", " \n", 2, "nothing is in it" },
        { "cut off", "{\n\"devices\": [\n", 3, "ends while the bracket of line 2 is open" },
        { "too much", "{ \"devices\": [] }\n}", 2, R"("}" is out of place; all brackets are closed)" },
        { "last comma", "{ \"devices\": [],\n}", 2, R"(a comma too many stands before "}")" },
        { "no comma", "{ \"devices\": []\n\"timeline\": [] }", 2,
          R"("timeline" is out of place; an object)" },
        { "comment", "{ \"devices\": [] // nobody\n}", 1, "it has no comments; \"description\" is for" },
        { "bare name", "{ devices: [] }", 1, R"("devices" is no value; names and texts stand in quotation)" },
        { "bare value, at a line end", "{ \"devices\": None\n}", 1, "\"None\" is no value" },
        { "leading zero", device(R"("rssi": -060)"), 3, "\"-060\" is no number" },
        { "vast number", device(R"("rssi": 1e999)"), 3, "no JSON: the number 1e999 is too large" },
        { "open text", device(R"("name": "x)"), 3, "a text ends on its line with a quotation mark" },
        { "escape", device(R"("name": "\x")"), 3, R"(behind a "\" in a text comes one of)" },
        { "Latin 1", device("\"name\": \"B\xfc ro\""), 3, "no UTF-8" },
        { "abyss", "{\n\"devices\":" + QByteArray(200'000, '['), 2, "nested more than 32 deep" },
    };
}

std::vector<Mistake> mistakesInScenario()
{
    return {
        { "no object", "[]", 1, "a scenario has to be an object, \"{ … }\"" },
        { "no devices", "{\n}", 1, "a scenario needs \"devices\"" },
        { "no list", "{ \"devices\": null }", 1, "\"devices\" of a scenario has to be a list, \"[ … ]\"" },
        { "schema", R"({ "$schema": 5, "devices": [] })", 1, R"("$schema" of a scenario has to be a text)" },
        { "unknown field", "{ \"devices\": [],\n\"timelin\": [] }", 2,
          R"("timelin" is no field of a scenario; did you mean "timeline"?)" },
        { "old line ends", "{ \"devices\": [],\r\"colour\": 1 }", 2,
          "\"colour\" is no field of a scenario; there are $schema, description, devices, timeline" },
        { "swapped letters", device(R"("naem": "Lamp")"), 3,
          R"(of "00:00:00:00:00:01"; did you mean "name"?)" },
        { "a field twice", device("\"rssi\": -60,\n\"rssi\": -61"), 4,
          "\"rssi\" stands here twice; leave one", false },
        { "another type", device(R"("rssi": "-60", "name": "Lamp")"), 3,
          R"("rssi" of "Lamp" has to be a n)" },
        { "out of range, before a line end", device("\"rssi\": -600\n"), 3,
          R"("rssi" of "00:00:00:00:00:01" is -600 but has to be from -127 to 20)" },
        { "fraction", device(R"("rssi": -48.7)"), 3, "is -48.7 but has to be a whole number" },
        { "zero character", device(R"("name": "a\u0000b")"), 3, R"("name" of "a\u0000b" has the character)" },
        { "no address", R"({ "devices": [ { "address": "00:00:00:00:00:01" }, {} ] })", 1,
          "the 2nd device needs \"address\"" },
        { "wrong address", "{ \"devices\": [ {\n\"name\": \"\\u001b[2J\", \"address\": \"1:2:3:4:5:6\" } ] }",
          2, R"("address" of "\u001B[2J" is "1:2:3:4:5:6")" },
        { "the same address",
          "{ \"devices\": [ { \"address\": \"00:00:00:00:00:0A\" },\n{ \"address\": \"00:00:00:00:00:0a\" } "
          "] "
          "}",
          2, "the 2nd device: another device has the address 00:00:00:00:00:0A already", false },
        { "unknown pairing", device(R"("pairing": "cod")"), 3, "did you mean \"code\"?" },
        { "unknown role", device("\"is\": [\n\"headst\" ]"), 4,
          R"("headst" is no kind of device; did you mean "headset"?)" },
        { "one role", device(R"("is": "headset")"), 3, "has to be a list, \"[ … ]\"" },
        { "PIN without a PIN", device(R"("pairing": "pin")"), 2, R"(goes with "pairing": "pin")" },
        { "PIN for a code", device("\"pairing\": \"code\",\n\"pin\": \"1\""), 4, "\"pin\" of " },
        { "five digits", device("\"pairing\": \"code\",\n\"code\": \"12345\""), 4, "has six digits" },
        { "class", device(R"("class": "phone")"), 3, "has to be a number of 24 bits" },
        { "movement", device(R"("moves": { "to": -1 })"), 3, R"("moves" of "00:00:00:00:00:01" needs "in")" },
        { "event of two kinds", event(R"("after": 1, "connect": "Phone", "drop": "Phone")"), 3,
          "the 1st event has to have exactly one of" },
        { "event without a time", event(R"("connect": "Phone")"), 3, "the 1st event needs \"after\"" },
        { "unknown device", event("\"after\": 1,\n\"drop\": \"Phne\""), 4,
          R"("Phne" is no device of this scenario; did you mean "Phone"?)", false },
        { "move to nowhere", event(R"("after": 1, "move": "Phone")"), 3, "the 1st event needs \"to\"" },
        { "drop to somewhere", event(R"("after": 1, "drop": "Phone", "to": -3)"), 3,
          "go with \"move\" alone" },
    };
}

} // namespace

void ScenarioTest::saysWhatIsWrong_data()
{
    const Rows<QByteArray, int, QString> row("text", "line", "problem");
    for (const auto& mistakes : { mistakesInJson(), mistakesInScenario() }) {
        for (const Mistake& mistake : mistakes) {
            row(mistake.name, mistake.text, mistake.line, mistake.problem);
        }
    }
}

void ScenarioTest::saysWhatIsWrong()
{
    QFETCH(QByteArray, text);
    QFETCH(int, line);
    QFETCH(QString, problem);
    const auto read = bt::readScenario(text);
    const auto* found = std::get_if<bt::TextProblem>(&read);
    QVERIFY(found != nullptr);
    QVERIFY2(found->text.contains(problem), qPrintable(found->text));
    QCOMPARE(found->line, line);
}

// Before it is read: nobody waits for a pipe, and nobody reads a disk image.
void ScenarioTest::refusesWhatIsNoScenarioFile()
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(QStringLiteral("pipe"));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), S_IRWXU), 0);
    QFile large(folder.filePath(QStringLiteral("large")));
    QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(16 * 1024 * 1024 + 1));
    QVERIFY(bt::problemOf(pipe).startsWith(pipe + " is no regular file"));
    QVERIFY(bt::problemOf(folder.path()).startsWith(folder.path() + " is no regular file"));
    QVERIFY(bt::problemOf(large.fileName()).startsWith(large.fileName() + " is too large; 16 MiB"));
}

void ScenarioTest::shippedFilesCanBeRead_data()
{
    const Rows<QString> row("name");
    const QStringList names = bt::scenarioNames();
    QVERIFY(names.contains(QLatin1String(bt::DefaultScenario)));
    for (const QString& name : names) {
        row(qPrintable(name), name);
    }
}

void ScenarioTest::shippedFilesCanBeRead()
{
    QFETCH(QString, name);
    QCOMPARE(bt::problemOf(name), QString());
}

// The schema helps whoever writes a file in an editor; the program reads by its own tables.
void ScenarioTest::schemaKnowsTheSameWords()
{
    QFile file(bt::scenarioFolder() + "/scenario.schema.json");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject schema = QJsonDocument::fromJson(file.readAll()).object();
    const QJsonObject parts = schema.value("$defs").toObject();
    const auto words = [](const QJsonObject& part) {
        return part.value("properties").toObject().keys();
    };
    const auto sorted = [](QStringList list) {
        list.sort();
        return list;
    };
    const QJsonObject device = parts.value("device").toObject();
    const QJsonObject fields = device.value("properties").toObject();
    const auto values = [](const QJsonValue& value) {
        QStringList list;
        for (const QJsonValue word : value.toObject().value("enum").toArray()) {
            list << word.toString();
        }
        return list;
    };
    using Vocabulary = bt::ScenarioVocabulary;
    QCOMPARE(words(schema), sorted(Vocabulary::scenario()));
    QCOMPARE(words(device), sorted(Vocabulary::device()));
    QCOMPARE(words(parts.value("movement").toObject()), sorted(Vocabulary::movement()));
    QCOMPARE(words(parts.value("event").toObject()), sorted(Vocabulary::event()));
    QCOMPARE(values(fields.value("pairing")), Vocabulary::pairing());
    QCOMPARE(values(fields.value("is").toObject().value("items")), Vocabulary::roles());
}

// An editor that checks with the schema finds what the program would refuse, and nothing else.
void ScenarioTest::schemaAgrees()
{
    const QString checker = QStandardPaths::findExecutable(QStringLiteral("jsonschema"));
    if (checker.isEmpty()) {
        // NOLINTNEXTLINE(clang-diagnostic-gnu-zero-variadic-macro-arguments): QSKIP takes no more
        QSKIP("there is no jsonschema; the package python3-jsonschema has it");
    }
    const QTemporaryDir folder;
    QStringList arguments{ "--output", "pretty", bt::scenarioFolder() + "/scenario.schema.json" };
    QMap<QString, bool> isRight;
    for (const Mistake& mistake : mistakesInScenario()) {
        QFile file(folder.filePath(QString::fromUtf8(mistake.name)));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(mistake.text) == mistake.text.size());
        isRight.insert(file.fileName(), !mistake.isInSchema);
    }
    for (const QString& name : bt::scenarioNames()) {
        isRight.insert(bt::findScenario(name).first, true);
    }
    for (const QString& file : isRight.keys()) {
        arguments << "-i" << file;
    }
    QProcess check;
    check.start(checker, arguments);
    QVERIFY(check.waitForFinished());
    const QString output = QString::fromUtf8(check.readAllStandardOutput());
    for (auto file = isRight.cbegin(); file != isRight.cend(); ++file) {
        QVERIFY2(output.contains("===[SUCCESS]===(" + file.key() + ")===") == file.value(),
                 qPrintable(file.key()));
    }
}

void ScenarioTest::signalsMove()
{
    bt::SimulatedDevice device;
    device.signalStrength = -40;
    QCOMPARE(device.signalStrengthAt(1h), -40);
    device.movement = bt::Movement{ 10s, 20s, -40, -80, false };
    QCOMPARE(device.signalStrengthAt(0s), -40);
    QCOMPARE(device.signalStrengthAt(15s), -50);
    QCOMPARE(device.signalStrengthAt(60s), -80);
    device.movement->returns = true;
    QCOMPARE(device.signalStrengthAt(45s), -50);
    QCOMPARE(device.signalStrengthAt(50s), -40);
    QCOMPARE(device.signalStrengthAt(55s), -50);
}

QTEST_GUILESS_MAIN(ScenarioTest)
#include "ScenarioTest.moc"

#include "JsonTree.h"
#include "ScenarioFiles.h"
#include "ScenarioReader.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace std::chrono_literals;

class ScenarioTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsEverything();
    void saysWhatIsWrong_data();
    void saysWhatIsWrong();
    void shippedFilesCanBeRead_data();
    void shippedFilesCanBeRead();
    void schemaKnowsTheSameWords();
    void signalsMove();
};

void ScenarioTest::readsEverything()
{
    const auto read = bt::readScenario(R"({
        "description": "x",
        "devices": [
            { "address": "0a:1b:2c:3d:4e:5f", "name": "Lamp", "class": "0x5a020c", "rssi": -71,
              "moves": { "to": -90, "in": 2.5, "returns": true },
              "pairing": "code", "code": "000000", "is": ["headset", "ios", "app"], "paired": true },
            { "address": "00:00:00:00:00:01", "pairing": "times-out", "is": ["wifed"], "absent": true }
        ],
        "timeline": [
            { "after": 9, "move": "Lamp", "to": -30, "in": 4 },
            { "after": 0.5, "appear": "00:00:00:00:00:01" }
        ]
    })");
    const auto* problem = std::get_if<bt::TextProblem>(&read);
    QVERIFY2(problem == nullptr, problem != nullptr ? qPrintable(problem->text) : "");
    const auto& scenario = std::get<bt::Scenario>(read);
    QCOMPARE(scenario.devices.size(), 2U);
    const bt::SimulatedDevice& lamp = scenario.devices.front();
    QCOMPARE(lamp.address, 0x0A1B2C3D4E5FULL);
    QCOMPARE(lamp.deviceClass, 0x5A020CU);
    QCOMPARE(lamp.signalStrength, -71);
    QCOMPARE(lamp.code, QStringLiteral("000000"));
    QCOMPARE(lamp.connection, 2U + 4U);
    QVERIFY(lamp.companion && lamp.paired && lamp.present && lamp.movement->returns);
    const bt::SimulatedDevice& other = scenario.devices.back();
    QCOMPARE(other.connection, 1U);
    QVERIFY(other.wifed && !other.present && other.name.isEmpty());
    QVERIFY(other.answer == bt::SimulatedDevice::Answer::Silent);
    QCOMPARE(scenario.timeline.size(), 2U);
    QVERIFY(scenario.timeline.front().time == 500ms); // by time, whatever their order in the file
    QVERIFY(scenario.timeline.back().duration == 4s);
    QCOMPARE(scenario.timeline.back().address, lamp.address);
}

void ScenarioTest::saysWhatIsWrong_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char* name, const QByteArray& text, int line, const char* problem) {
        QTest::newRow(name) << text << line << QString::fromUtf8(problem);
    };
    const auto device = [](const QByteArray& members) {
        return "{ \"devices\": [\n { \"address\": \"00:00:00:00:00:01\",\n" + members + "\n} ] }";
    };
    const auto event = [](const QByteArray& members) {
        return "{ \"devices\": [ { \"address\": \"00:00:00:00:00:01\", \"name\": \"Phone\" } ],\n"
               "\"timeline\": [\n{ "
            + members + " } ] }";
    };
    row("no JSON", "{\n \"devices\": [\n ] ]", 3, "this is no JSON: syntax error");
    row("nothing", "", 1, "this is no JSON");
    row("no object", "[]", 1, "a scenario has to be an object");
    row("no devices", "{\n}", 1, "a scenario needs \"devices\"");
    row("unknown field", "{ \"devices\": [],\n\"timelin\": [] }", 2,
        R"("timelin" is no field of a scenario; did you mean "timeline"?)");
    row("unlike any field", "{ \"devices\": [],\n\"colour\": 1 }", 2,
        "\"colour\" is no field of a scenario; there are $schema, description, devices, timeline");
    row("a field twice", device("\"rssi\": -60,\n\"rssi\": -61"), 4, "\"rssi\" stands here twice");
    row("another type", device(R"("rssi": "-60")"), 3, "\"rssi\" of a device has to be a number");
    row("out of range, before a line end", device("\"rssi\": -600\n"), 3,
        "\"rssi\" of a device is -600 but has to be from -127 to 20");
    row("no address", "{ \"devices\": [\n{ } ] }", 2, "a device needs \"address\"");
    row("wrong address", "{ \"devices\": [ {\n\"address\": \"1:2:3:4:5:6\" } ] }", 2,
        R"("address" of a device is "1:2:3:4:5:6")");
    row("the same address",
        "{ \"devices\": [ { \"address\": \"00:00:00:00:00:0A\" },\n{ \"address\": \"00:00:00:00:00:0a\" } ] "
        "}",
        2, "another device has the address 00:00:00:00:00:0a already");
    row("unknown pairing", device(R"("pairing": "cod")"), 3, "did you mean \"code\"?");
    row("unknown role", device("\"is\": [\n\"headst\" ]"), 4,
        R"("headst" is no kind of device; did you mean "headset"?)");
    row("PIN without a PIN", device(R"("pairing": "pin")"), 2, "\"pin\" of a device goes with");
    row("PIN for a code", device("\"pairing\": \"code\",\n\"pin\": \"1\""), 4,
        "\"pin\" of a device goes with");
    row("five digits", device("\"pairing\": \"code\",\n\"code\": \"12345\""), 4, "has six digits");
    row("class", device(R"("class": "phone")"), 3, "has to be a number of 24 bits");
    row("movement", device(R"("moves": { "to": -1 })"), 3, R"("moves" needs "in")");
    row("event of two kinds", event(R"("after": 1, "connect": "Phone", "drop": "Phone")"), 3,
        "an event has exactly one of");
    row("event without a time", event(R"("connect": "Phone")"), 3, "an event needs \"after\"");
    row("unknown device", event("\"after\": 1,\n\"drop\": \"Phne\""), 4,
        R"("Phne" is no device of this scenario; did you mean "Phone"?)");
    row("move to nowhere", event(R"("after": 1, "move": "Phone")"), 3, "an event needs \"to\"");
    row("drop to somewhere", event(R"("after": 1, "drop": "Phone", "to": -3)"), 3, "go with \"move\" alone");
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

void ScenarioTest::shippedFilesCanBeRead_data()
{
    QTest::addColumn<QString>("name");
    const QStringList names = bt::scenarioNames();
    QVERIFY(names.contains(QLatin1String(bt::DefaultScenario)));
    for (const QString& name : names) {
        QTest::newRow(qPrintable(name)) << name;
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
    QFile file(bt::scenarioFolder() + QStringLiteral("/scenario.schema.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject schema = QJsonDocument::fromJson(file.readAll()).object();
    const QJsonObject parts = schema.value(QLatin1String("$defs")).toObject();
    const auto words = [](const QJsonObject& part) {
        return part.value(QLatin1String("properties")).toObject().keys();
    };
    const auto sorted = [](QStringList list) {
        list.sort();
        return list;
    };
    const QJsonObject device = parts.value(QLatin1String("device")).toObject();
    const QJsonObject fields = device.value(QLatin1String("properties")).toObject();
    const auto values = [](const QJsonValue& value) {
        QStringList list;
        for (const QJsonValue word : value.toObject().value(QLatin1String("enum")).toArray()) {
            list << word.toString();
        }
        return list;
    };
    using Vocabulary = bt::ScenarioVocabulary;
    QCOMPARE(words(schema), sorted(Vocabulary::scenario()));
    QCOMPARE(words(device), sorted(Vocabulary::device()));
    QCOMPARE(words(parts.value(QLatin1String("movement")).toObject()), sorted(Vocabulary::movement()));
    QCOMPARE(words(parts.value(QLatin1String("event")).toObject()), sorted(Vocabulary::event()));
    QCOMPARE(values(fields.value(QLatin1String("pairing"))), Vocabulary::pairing());
    QCOMPARE(values(fields.value(QLatin1String("is")).toObject().value(QLatin1String("items"))),
             Vocabulary::roles());
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

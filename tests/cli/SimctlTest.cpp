// The program itself, against a simulated radio on a bus of its own whose time stands still.
#include "ChildProcess.h"
#include "FaultWords.h"
#include "WordTable.h"
#include "support/PrivateBus.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>
#include <QtNumeric>

#include <sys/stat.h>

#include <tuple>
#include <vector>

class SimctlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_bus.start(), QString());
        qputenv("BLUESIM_PAUSED", "1");
        QCOMPARE(::mkfifo(qPrintable(m_folder.filePath("pipe.rec")), 0600), 0);
    }

    void init()
    {
        world::Command command;
        command.arguments = QStringList{ BLUESIM, "test", "1", "1" };
        QVERIFY(m_sim.start(command));
        QTRY_VERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered("tov.sim.Bluetooth"));
        QCOMPARE(change({ "time", "step", "0.5" }), QString()); // until it is on
    }

    void cleanup() { m_sim.end(); }

    void listsDevices()
    {
        const Finished table = simctl({ "devices" });
        QCOMPARE(table.status, 0);
        const QStringList lines = table.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 11);
        QCOMPARE(lines.first(), "00:11:22:33:44:01  Phone             -48 dBm  code          plain");
        QCOMPARE(lines.at(2), "00:11:22:33:44:03  Car Kit           -62 dBm  pin 5190      headset");
        QCOMPARE(lines.at(6), "00:11:22:33:44:07  -                 -74 dBm  just-works    plain");
        QCOMPARE(device("00:11:22:33:44:03").value("pin"), "5190");
        const QJsonObject phone = device("00:11:22:33:44:08");
        QCOMPARE(phone.keys(),
                 (QStringList{ "address", "class", "connection", "is", "name", "pairState", "paired",
                               "pairing", "present", "rssi" }));
        QCOMPARE(phone.value("is").toArray(), (QJsonArray{ "app", "ios" }));
    }

    void addsDevices_data()
    {
        const Rows<QStringList, QString, QJsonArray> row("options", "pairing", "is");
        row("plain", {}, "just-works", { "plain" });
        row("PIN", { "--pin", "007" }, "pin", { "plain" });
        row("code", { "--code" }, "code", { "plain" });
        row("that code", { "--code", "000000" }, "code", { "plain" });
        row("refuses", { "--refuses" }, "refuses", { "plain" });
        row("paired", { "--paired", "--pin", "1" }, "pin", { "plain" });
        row("times out", { "--times-out" }, "times-out", { "plain" });
        row("headset", { "--headset", "--confirmation" }, "confirmation", { "headset" });
        row("all of them", { "--ios", "--app", "--ftp", "--wifed", "--headset" }, "just-works",
            { "headset", "app", "ftp", "ios", "wifed" });
    }

    void addsDevices()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, pairing);
        QFETCH(QJsonArray, is);
        const QString address = "0A:00:00:00:00:01";
        QCOMPARE(change(QStringList{ "add", "Lamp \"x\"", "--address", address, "--rssi", "-45", "--class",
                                     "0x540" }
                        + options),
                 QString());
        const QJsonObject lamp = device(address);
        QCOMPARE(lamp.value("name").toString(), "Lamp \"x\"");
        QCOMPARE(lamp.value("rssi").toInt(), -45);
        QCOMPARE(lamp.value("class").toInt(), 0x540);
        QCOMPARE(lamp.value("pairing").toString(), pairing);
        QCOMPARE(lamp.value("is").toArray(), is);
        QCOMPARE(lamp.value("paired").toBool(), options.contains("--paired"));
    }

    void devicesDoThings()
    {
        const QString address = "0A:00:00:00:00:01";
        QCOMPARE(change({ "add", "Lamp", "--address", address, "--times-out" }), QString());
        QCOMPARE(change({ "pair-request", "Lamp" }), QString());
        const std::vector<std::tuple<QStringList, QString, QJsonValue>> steps{
            { { "time", "step", "2" }, "pairState", 2 }, // waits for the person at the lamp
            { { "answer", "Lamp", "accept" }, "paired", false },
            { { "time", "step", "2" }, "paired", true },
            { { "connect", "0a:00:00:00:00:01" }, "connection", 1 },
            { { "drop", "Lamp" }, "connection", 0 },
            { { "move", "Lamp", "-90", "--in", "10" }, "rssi", -60 },
            { { "time", "step", "5" }, "rssi", -75 },
            { { "remove", "Lamp" }, "present", false },
        };
        for (const auto& [arguments, key, expected] : steps) {
            QCOMPARE(change(arguments), QString());
            QCOMPARE(device(address).value(key), expected);
        }
        QCOMPARE(change({ "remove", "Lamp" }), "1: simctl: Lamp is away already\n");
        for (const char* command : { "connect", "drop", "pair-request" }) {
            QCOMPARE(change({ command, "Lamp" }), "1: simctl: Lamp is away; it has to return first\n");
        }
        QCOMPARE(change({ "return", "Lamp" }), QString());
        QCOMPARE(change({ "return", "Lamp" }), "1: simctl: Lamp is there already\n");
        QCOMPARE(change({ "connect", "Lamp" }), QString());
        QVERIFY(simctl({ "devices" }).out.contains("connected"));
        QCOMPARE(change({ "answer", "00:11:22:33:44:05", "refuse" }), // refuses us, but may ask itself
                 "1: simctl: no pairing with 00:11:22:33:44:05 is under way\n");
    }

    void showsOddDevices()
    {
        const QString longName(30, 'x');
        QCOMPARE(change({ "add", longName, "--address", "0A:00:00:00:00:02", "--paired" }), QString());
        QCOMPARE(change({ "add", "\x1b[2J", "--address", "0A:00:00:00:00:03" }), QString());
        QCOMPARE(change({ "add", "Phone", "--address", "0A:00:00:00:00:04" }), QString());
        QCOMPARE(change({ "remove", longName }), QString());
        call("Pair", { 0x001122334405ULL }); // refuses
        QCOMPARE(change({ "time", "step", "3" }), QString());
        const QString devices = simctl({ "devices" }).out;
        const QString cut = QString(19, 'x') + QChar(0x2026);
        for (const QString& line :
             { "0A:00:00:00:00:02  " + cut + "  -60 dBm  just-works    plain        away, paired\n",
               QString("00:11:22:33:44:05  Locked Tablet         -66 dBm  refuses       plain\n") }) {
            QVERIFY2(devices.contains(line), qPrintable(devices));
        }
        const auto offered = [](const QStringList& words) {
            return simctl(QStringList{ "complete", "--" } + words).out.split('\n');
        };
        QVERIFY(offered({ "remove", "" }).contains("Phone"));
        QVERIFY(!offered({ "remove", "" }).join('\n').contains('\x1b'));
        QCOMPARE(offered({ "fault", "stall", "" }), QStringList{ QString() });
        const QStringList dropped = offered({ "fault", "drop", "" });
        QVERIFY(dropped.contains("pairListChanged") && !dropped.contains("pairList"));
        QVERIFY(!dropped.contains("PropertiesChanged")); // is not the daemon's own
        QCOMPARE(change({ "drop", "Phone" }),
                 QString("3: simctl: several devices are called \"Phone\"; give an address\n"));
    }

    void tellsTheCalls()
    {
        call("Pair", { 0x001122334403ULL });
        QCOMPARE(change({ "time", "step", "1.5" }), QString());
        call("PINreply", { "51\n90" });
        QCOMPARE(simctl({ "calls" }).out,
                 "     0.500  Pair(73588229123)\n     2.000  PINreply(\"51\\n90\")\n");
        QCOMPARE(simctl({ "--json", "calls" }).out.split('\n').first(),
                 R"({"time":0.5,"member":"Pair","arguments":[73588229123]})");
    }

    void drivesTime()
    {
        QCOMPARE(simctl({ "time" }).out, "0.500 s, standing\n");
        QCOMPARE(change({ "time", "step", "29.5" }), QString());
        QCOMPARE(simctl({ "time", "--json" }).out, "{\"time\":30.0,\"paused\":true,\"speed\":1.0}\n");
        for (const double wrong : { 0.0, -1.0, 1e300, qQNaN() }) {
            const QDBusMessage refused = QDBusInterface("tov.sim.Bluetooth", "/tov/sim/Radio",
                                                        "tov.sim.Radio1", QDBusConnection::systemBus())
                                             .call("SetSpeed", wrong);
            QCOMPARE(refused.errorMessage(), "a speed is above 0 and at most 1000000");
        }
        QCOMPARE(change({ "time", "speed", "500" }), QString());
        QCOMPARE(change({ "time", "resume" }), QString());
        QVERIFY(simctl({ "time" }).out.endsWith("running at 500 times real time\n"));
        QCOMPARE(change({ "time", "pause" }), QString());
        QVERIFY(simctl({ "time" }).out.endsWith("standing\n"));
    }

    void tellsTheFaults();

    void noFaultEndsThePatience()
    {
        QCOMPARE(change({ "fault", "ignore-sigterm", "3600" }), QString());
        m_sim.signal(SIGTERM);
        QCOMPARE(change({ "fault", "none" }), QString());
        QCOMPARE(m_sim.wait(std::chrono::seconds(20)), std::optional<int>(0));
    }

    void recordsAStalledDaemon()
    {
        QCOMPARE(change({ "fault", "stall" }), QString());
        const QString file = m_folder.filePath("stalled.rec");
        const Finished finished = simctl({ "record", file, "--timeout", "0.2" });
        QVERIFY2(finished.err.contains("does not tell its properties"), qPrintable(finished.err));
        QVERIFY2(finished.err.endsWith("simctl: 1 event recorded\n"), qPrintable(finished.err));
        QCOMPARE(finished.status, 4);
        QFile recording(file);
        QVERIFY(recording.open(QIODevice::ReadOnly));
        QVERIFY(recording.readAll().endsWith("\"appeared\":{}}\n"));
    }

    void saysWhatIsWrong_data();

    void saysWhatIsWrong()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, error);
        const Finished finished = simctl(arguments);
        QVERIFY2(finished.err.startsWith("simctl: ") && finished.err.contains(error),
                 qPrintable(finished.err));
        QCOMPARE(finished.err.count('\n'), 1);
        QCOMPARE(finished.status, status);
        QCOMPARE(finished.out, QString());
    }

    void saysThatThereIsNoSimulation()
    {
        m_sim.signal(SIGSTOP);
        QCOMPARE(simctl({ "devices" }).status, 4); // no answer
        m_sim.signal(SIGCONT);
        m_sim.end();
        QTRY_VERIFY(!QDBusConnection::systemBus().interface()->isServiceRegistered("tov.sim.Bluetooth"));
        QCOMPARE(simctl({ "devices" }).status, 5);
        QVERIFY(simctl({ "devices" }).err.contains("no simulated radio is on the system bus"));
        const Finished noBus =
            run(SIMCTL, { "time" },
                { { { "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus" } }, false, {} });
        QCOMPARE(noBus.status, 5);
        QVERIFY2(noBus.err.contains("DBUS_SYSTEM_BUS_ADDRESS"), qPrintable(noBus.err));
    }

    // The documents know every word that the program takes; the shells' completion asks the program for them.

private:
    static Finished simctl(const QStringList& arguments) { return run(SIMCTL, arguments); }
    /// Empty when it went well and printed nothing, otherwise what it said.
    static QString change(const QStringList& arguments)
    {
        const Finished finished = simctl(arguments);
        return finished.status == 0 ? finished.out + finished.err
                                    : QString("%1: %2").arg(finished.status).arg(finished.err);
    }

    static QJsonObject device(const QString& address)
    {
        for (const QString& line : simctl({ "devices", "--json" }).out.split('\n', Qt::SkipEmptyParts)) {
            QJsonObject object = QJsonDocument::fromJson(line.toUtf8()).object();
            if (object.value("address") == address) {
                return object;
            }
        }
        return {};
    }

    static void call(const char* method, const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createMethodCall("com.qarn.bluetooth", "/com/qarn/Bluetooth",
                                                              "com.qarn.bluetooth", method);
        message.setArguments(arguments);
        QCOMPARE(QDBusConnection::systemBus().call(message).errorMessage(), QString());
    }

    PrivateSystemBus m_bus;
    QTemporaryDir m_folder;
    world::ChildProcess m_sim;
};

void SimctlTest::saysWhatIsWrong_data()
{
    const Rows<QStringList, int, QString> row("arguments", "status", "error");
    row("nothing", {}, 2, "see simctl --help");
    row("unknown subcommand", { "explode" }, 2, "\"explode\" is no subcommand; there are devices, remove,");
    row("no such device", { "drop", "Hedset" }, 3, R"(no device "Hedset"; did you mean "Headset"?)");
    row("address like another", { "drop", "0b:11:22:33:44:01" }, 3, "did you mean \"00:11:22:33:44:01\"?");
    row("not connected", { "drop", "Headset" }, 1, "00:11:22:33:44:02 is not connected");
    row("not paired", { "connect", "Headset" }, 1, "is not paired");
    row("address", { "add", "x", "--address", "0A" }, 2, R"("address" of "x" is "0A")");
    row("there already", { "add", "x", "--address", "00:11:22:33:44:01" }, 1, "there is a device");
    row("two ways to pair", { "add", "x", "--address", "0A:00:00:00:00:01", "--code", "--pin", "1" }, 2,
        "--pin");
    row("signal", { "move", "Phone", "30" }, 2, "30");
    row("answer", { "answer", "Phone", "maybe" }, 2, "maybe");
    row("fault", { "fault", "stal" }, 2, R"("stal" is no fault; did you mean "stall"?)");
    row("fault without a number", { "fault", "slow" }, 2, "a fault is told as \"slow SECONDS\"");
    row("fault of no signal", { "fault", "payload", "pairList2", "s" }, 2, "did you mean \"pairList\"?");
    row("fault of no shape", { "fault", "payload", "pairList", "a(q" }, 2,
        R"x("a(q" is no shape: Struct started but not ended;)x");
    row("fault of no value", { "fault", "payload", "pairList", "a(ti)", "[[1,2],[3,4.5]]" }, 2,
        "the value at [1][1] is 4.5 but has to be a whole number from -2147483648 to 2147483647");
    row("time", { "time", "step", "yesterday" }, 2, "step SECONDS");
    row("time of more than a day", { "time", "step", "86400.1" }, 2, "step SECONDS");
    row("no speed", { "time", "speed", "0" }, 2, "speed FACTOR");
    row("recording's name", { "record", "/tmp/x.json" }, 2, "ends with .rec");
    row("recording's kind", { "record", m_folder.filePath("pipe.rec") }, 1, "it is no regular file");
    row("recording's place", { "record", "/nonexistent/x.rec" }, 1, "/nonexistent/x.rec cannot be written");
}

void SimctlTest::tellsTheFaults()
{
    QCOMPARE(simctl({ "fault" }).out, QString());
    QCOMPARE(change({ "fault", "slow", "2.5" }), QString());
    QCOMPARE(change({ "fault", "payload", "pairListChanged", "a(t)" }), QString());
    QCOMPARE(change({ "fault", "payload", "scanState", "a(ts)", R"([[18446744073709551615,"x"]])" }),
             QString());
    QCOMPARE(change({ "fault", "silent-property", "pairList" }), QString());
    QCOMPARE(change({ "fault", "drop", "scanStateChanged" }), QString());
    QCOMPARE(change({ "fault", "double", "deviceDisconnected", "2" }), QString());
    QCOMPARE(simctl({ "fault" }).out,
             "answers 2.5 s late\nsends pairListChanged as a(t)\n"
             "sends scanState as a(ts) [[18446744073709551615,\"x\"]]\n"
             "does not tell that pairList changes\n"
             "does not send scanStateChanged\nsends deviceDisconnected twice, 2 left\n");
    QCOMPARE(simctl({ "fault", "--json" }).out,
             R"json([{"kind":"slow","seconds":2.5},)json"
             R"json({"kind":"payload","name":"pairListChanged","signature":"a(t)"},)json"
             R"json({"kind":"payload","name":"scanState","signature":"a(ts)",)json"
             R"json("value":[[18446744073709551615,"x"]]},)json"
             R"json({"kind":"silent-property","name":"pairList"},)json"
             R"json({"kind":"drop","name":"scanStateChanged"},)json"
             R"json({"kind":"double","name":"deviceDisconnected","count":2}])json"
             "\n");
    QCOMPARE(change({ "fault", "none" }), QString());
    QCOMPARE(simctl({ "fault", "--json" }).out, "[]\n");
    QCOMPARE(change({ "fault", "leave", "3600" }), QString());
    QCOMPARE(change({ "fault", "leave" }), QString()); // for good
    QCOMPARE(simctl({ "fault", "--json" }).out, "[{\"kind\":\"leave\"}]\n");
}

QTEST_GUILESS_MAIN(SimctlTest)
#include "SimctlTest.moc"

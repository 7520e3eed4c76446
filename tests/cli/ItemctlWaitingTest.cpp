#include "ItemctlFixture.h"
#include "client/KELClientInterface.h"
#include "support/Rows.h"

#include <nlohmann/json.hpp>

#include <QTest>

#include <csignal>

/// watch and wait: what happens while the program runs.
class ItemctlWaitingTest : public ItemctlFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTRY_COMPARE(watchers(), 0);
        succeed({ "call", "write", "enabled=false" });
        succeed({ "call", "write", "state=0" });
        succeed({ "call", "write", "rowName:1=" });
    }

    void watchPrintsEachChange()
    {
        const auto watch =
            startWatching({ "watch", "state", "enabled", "pin", "--count", "4", "--timeout", "60" });
        QVERIFY(watch);
        succeed({ "call", "write", "state=3" });
        // Each line is there at once, not when the program ends.
        QTRY_VERIFY(watch->canReadLine() || watch->waitForReadyRead(0));
        QCOMPARE(watch->readLine(), QByteArray(":result:demo:mod:state: 3 (On)\n"));
        succeed({ "call", "write", "serial=1" });
        succeed({ "set", "enabled", "true" });
        succeed({ "call", "write", "state=77" });
        const Finished finished = finish(*watch);
        QCOMPARE(finished.status, 0);
        QCOMPARE(finished.out,
                 ":config:demo:mod:enabled: true\n:config:demo:mod:pin: [applies]\n"
                 ":result:demo:mod:state: 77\n");
    }

    void aWatcherThatWasStoppedCatchesUp()
    {
        const auto watch = startWatching({ "watch", "state", "--count", "2", "--timeout", "60" });
        QVERIFY(watch);
        kill(static_cast<pid_t>(watch->processId()), SIGSTOP);
        // More than the bus keeps for one that does not read: the change at the end is lost for it.
        const KELClientInterface client(DemoBusName, QDBusConnection::sessionBus());
        for (int i = 0; i < 300; ++i) {
            const auto set = client.set("record", QString::number(i).rightJustified(65'536, 'x'));
            QVERIFY2(set, qPrintable(set.error().message));
        }
        QVERIFY(client.trigger("write", "state=3"));
        QVERIFY(client.get("state")); // the others are answered as ever
        kill(static_cast<pid_t>(watch->processId()), SIGCONT);
        QTRY_VERIFY(watch->canReadLine() || watch->waitForReadyRead(0));
        QCOMPARE(watch->readLine(), QByteArray(":result:demo:mod:state: 3 (On)\n"));
        // And it goes on: what follows is told once.
        succeed({ "call", "write", "state=77" });
        QCOMPARE(finish(*watch).out, QString(":result:demo:mod:state: 77\n"));
    }

    void actsAndWaits_data()
    {
        const Rows<QStringList, int, QString, QString> row("arguments", "status", "out", "err");
        row("a change on the way", { "call", "write", "state=3", "--until", "state=On" }, 0,
            "state  Off -> On\n", "");
        row("JSON, two conditions",
            { "call", "write", "state=3", "--json", "--until", "state=3", "state~^On" }, 0,
            R"({"address":":result:demo:mod:state:","server":"demo","module":"mod","id":"state",)"
            R"("kind":"result","label":"State","value":3,"symbol":"DEMO_STATE_ON","text":"On"})"
            "\n",
            "");
        row("an unwanted end",
            { "call", "write", "state=200", "--until", "state=On", "--unless", "state~^Gone" }, 1,
            "state  Off -> Gone Wrong\n", "state~^Gone holds, it is 200 (Gone Wrong)");
        row("what was before is no news", { "call", "echo", "x", "--until", "state=Off", "--timeout", "0.1" },
            4, "x\n",
            "timed out after 0.1 s: state=Off does not hold, it has not changed since: it is 0 (Off)");
        row("nor is an unwanted end of before",
            { "call", "write", "rowName:1=x", "--until", "rowName:1=x", "--unless", "state=Off" }, 0,
            "rowName:1  (empty) -> x\n", "");
        row("set: what holds already does",
            { "set", "volume", "5", "--server", "demo", "--until", "state=Off" }, 3, "", "several");
        row("set, applicability", { "set", "enabled", "true", "--until", "enabled=true", "state=Off" }, 0,
            "enabled  false -> true\n", "");
        row("a row comes", { "call", "write", "rowName:1=x", "--until", "rowName[*]=x" }, 0,
            "rowName:1  (empty) -> x\n", "");
        row("no row that is so", { "wait", "rowName[*]~.", "--timeout", "0.1" }, 4, "",
            "rowName[*]~. does not hold, no row is set");
        row("none is otherwise", { "wait", "rowName[*]!=x", "rowState[*]!=On" }, 0, "", "");
        row("no such list", { "wait", "rowNam[*]=x" }, 3, "", R"(no list "rowNam"; did you mean "rowName"?)");
        row("of its way alone", { "call", "write", "state=3", "--until", "state=On", "--show", "rowName" }, 0,
            "state  Off -> On\n", "");
        row("more of its way",
            { "call", "write", "state=3", "--until", "enabled:applicable", "--unless", "state=On", "--show",
              "row*:0" },
            1, "state  Off -> On\n", "state=On holds");
        row("another item's change is not shown",
            { "call", "write", "rowName:1=x", "--until", "state=On", "--timeout", "0.1" }, 4, "",
            "it has not changed since");
        row("a value that can never be", { "call", "echo", "x", "--until", "state=Onn" }, 2, "",
            "does not fit");
        row("the request is refused", { "set", "pin", "x", "--until", "state=Off" }, 1, "",
            "keeps its value");
        row("wait, an unwanted state", { "wait", "state=On", "--unless", "enabled=true", "state=Off" }, 1, "",
            "state=Off holds, it is 0 (Off)");
        row("unless without until", { "set", "enabled", "true", "--unless", "state=On" }, 2, "", "--until");
    }

    void actsAndWaits() { tellsAsTheRowSays(); }

    void watchAsJson()
    {
        const auto watch = startWatching({ "watch", "--json", "row*:1", "--count", "2" });
        QVERIFY(watch);
        succeed({ "set", "enabled", "true" });
        succeed({ "call", "write", "rowName:1=Headset" });
        const Finished finished = finish(*watch);
        QCOMPARE(finished.status, 0);
        QCOMPARE(
            finished.out,
            R"({"address":":result:demo:mod:rowName:1:","server":"demo","module":"mod","id":"rowName",)"
            R"("index":1,"kind":"result","label":"Name","value":"Headset","applicable":true})"
            "\n"
            R"({"address":":result:demo:mod:rowState:1:","server":"demo","module":"mod","id":"rowState",)"
            R"("index":1,"kind":"result","label":"Row State","applicable":true})"
            "\n");
    }

    void waitForSeveralTogether()
    {
        const auto wait =
            startWatching({ "wait", "--json", "state=DEMO_STATE_ON", "enabled=true", "--timeout", "60" });
        QVERIFY(wait);
        // Each holds for a while, but not together.
        succeed({ "call", "write", "state=3" });
        succeed({ "call", "write", "state=0" });
        succeed({ "set", "enabled", "true" });
        succeed({ "call", "write", "state=3" });
        const Finished finished = finish(*wait);
        QCOMPARE(finished.status, 0);
        const auto items = nlohmann::json::parse(finished.out.toStdString());
        QCOMPARE(items[0].value("value", -1), 3);
        QCOMPARE(items[1].value("value", false), true);
    }

    void waitSaysWhatIsMissing()
    {
        const Finished finished =
            itemctl({ "wait", "state~^Gone", "enabled=false", "pin:applicable", "--timeout", "0.1" });
        QCOMPARE(finished.status, 4);
        QVERIFY2(finished.err.contains("state~^Gone does not hold, it is 0 (Off)"), qPrintable(finished.err));
        QVERIFY2(finished.err.contains("pin:applicable does not hold, it does not apply"),
                 qPrintable(finished.err));
        QVERIFY(!finished.err.contains("enabled"));
    }

    void tellsThePresentFirst_data()
    {
        const Rows<QStringList, QString> row("options", "out");
        row("for people", {},
            ":config:demo:mod:pin: 5190 [does not apply]\n:result:demo:mod:state: 0 (Off)\n"
            ":action:demo:mod:fork: [applies]\n:result:demo:mod:state: 3 (On)\n");
        row("JSON", { "--json" },
            R"({"address":":config:demo:mod:pin:","server":"demo","module":"mod","id":"pin","kind":"config",)"
            R"("label":"PIN","value":"5190","applicable":false})"
            "\n"
            R"({"address":":result:demo:mod:state:","server":"demo","module":"mod","id":"state",)"
            R"("kind":"result","label":"State","value":0,"symbol":"DEMO_STATE_OFF","text":"Off","applicable":true})"
            "\n"
            R"({"address":":action:demo:mod:fork:","server":"demo","module":"mod","id":"fork",)"
            R"("kind":"action","label":"Fork and Return","applicable":true})"
            "\n"
            R"({"address":":result:demo:mod:state:","server":"demo","module":"mod","id":"state",)"
            R"("kind":"result","label":"State","value":3,"symbol":"DEMO_STATE_ON","text":"On"})"
            "\n");
    }

    void tellsThePresentFirst()
    {
        QFETCH(QStringList, options);
        const auto watch = startWatching(
            QStringList{ "watch", "state", "pin", "fork", "--initial", "--count", "1" } + options);
        QVERIFY(watch);
        succeed({ "call", "write", "state=3" });
        QTEST(finish(*watch).out, "out");
    }
};

QTEST_GUILESS_MAIN(ItemctlWaitingTest)
#include "ItemctlWaitingTest.moc"

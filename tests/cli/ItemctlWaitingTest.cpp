#include "ItemctlFixture.h"
#include "client/KELClientInterface.h"
#include "support/Rows.h"

#include <nlohmann/json.hpp>

#include <QDBusConnectionInterface>
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

    void watchSurvivesARestart()
    {
        succeed({ "call", "write", "state=3" });
        const auto watch = startWatching({ "watch", "state", "--count", "2", "--timeout", "60" });
        QVERIFY(watch);
        m_servers.kill();
        QVERIFY(m_servers.start());
        QTRY_COMPARE(watchers(), 1);
        succeed({ "call", "write", "state=200" });
        const Finished finished = finish(*watch);
        QCOMPARE(finished.status, 0);
        // What differs after the return counts as a change.
        QCOMPARE(finished.out, ":result:demo:mod:state: 0 (Off)\n:result:demo:mod:state: 200 (Gone Wrong)\n");
        QVERIFY2(finished.err.contains("server demo left the bus") && finished.err.contains("is back"),
                 qPrintable(finished.err));
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

    void watchTakesWhatAServerBringsBack()
    {
        const auto watch = startWatching({ "watch", "--count", "1", "--timeout", "60" });
        QVERIFY(watch);
        m_servers.kill();
        QVERIFY(m_servers.start("demo", "new"));
        QTRY_COMPARE(watchers(), 1);
        succeed({ "call", "write", "state=3" });
        QCOMPARE(finish(*watch).out, ":result:demo:new:state: 3 (On)\n");
        m_servers.kill();
        QVERIFY(m_servers.start());
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

    void awaitsItsServer_data()
    {
        const Rows<QStringList, QString> row("arguments", "out");
        row("wait", { "wait", "state=Off", "--json" }, R"("value":0)");
        row("watch", { "watch", "state", "--initial", "--count", "1" }, ":result:demo:mod:state: 0 (Off)\n");
        row("its address", { "wait", ":result:demo:mod:state:=Off", "--json" }, R"("value":0)");
        row("while another is there", { "wait", "mod:state=Off", "--json" }, R"("value":0)");
    }

    void awaitsItsServer()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, out);
        m_servers.kill();
        const bool another = QTest::currentDataTag() == QByteArray("while another is there");
        if (another) {
            QVERIFY(m_servers.start("other", "side"));
        }
        const QString missing = another ? "no item" : "no server";
        const Finished soon = itemctl(arguments + QStringList{ "--await-server", "--timeout", "0.1" });
        QCOMPARE(soon.status, 4);
        QVERIFY2(soon.err.contains("timed out after 0.1 s: " + missing), qPrintable(soon.err));
        QCOMPARE(itemctl(arguments).status, another ? 3 : 5);
        const auto waiting = startItemctl(arguments + QStringList{ "--await-server", "--timeout", "60" });
        QTRY_COMPARE(rules("arg0namespace='tov.base'"), 1);
        QVERIFY(m_servers.start());
        if (arguments.contains("watch")) {
            QTRY_COMPARE(watchers(), 1);
            succeed({ "call", "write", "state=3" });
        }
        const Finished finished = finish(*waiting);
        QCOMPARE(finished.status, 0);
        QVERIFY2(finished.out.contains(out), qPrintable(finished.out));
        if (another) {
            m_servers.kill("other");
        }
    }

    // The bus wakes it for what it was asked about and for nothing else.
    void listensToTheServersThatItIsAbout_data()
    {
        const Rows<QStringList> row("arguments");
        row("wait", { "wait", "mod:state=On" });
        row("wait, a list", { "wait", "mod:rowName[*]=x" });
        row("watch", { "watch", "mod:state", "mod:row*" });
        row("until", { "call", "mod:echo", "x", "--until", "mod:state=On", "--timeout", "60" });
    }

    void listensToTheServersThatItIsAbout()
    {
        QFETCH(QStringList, arguments);
        QVERIFY(m_servers.start("other", "side"));
        const int others = rules(QString());
        const auto process = startItemctl(arguments);
        QTRY_COMPARE(watchers(), 1);
        succeed({ "get", "mod:state" }); // behind what it has asked
        // It wants the changes, the server's end and its return, and the end of the bus; the server, its end.
        QTRY_COMPARE(rules(QString()) - others, 4 + 1);
        QCOMPARE(rules("tov.base.other"), 0);
        process->terminate();
        finish(*process);
        const Finished misspelt = itemctl({ "wait", "mod:state=On", "side:enabld=true" });
        QVERIFY2(misspelt.err.contains(R"(did you mean "side:enabled"?)"), qPrintable(misspelt.err));
        m_servers.kill("other");
    }

    // What it had does not count while it is away.
    void waitDoesNotTrustAnAbsentServer()
    {
        QVERIFY(m_servers.start("other", "side"));
        succeed({ "call", "mod:write", "serial=1" });
        auto wait =
            startItemctl({ "wait", "--json", "mod:serial~.", "side:enabled=true", "--timeout", "60" });
        QTRY_COMPARE(watchers(), 2);
        succeed({ "get", "mod:state" });
        m_servers.kill();
        succeed({ "set", "side:enabled", "true" });
        QVERIFY(m_servers.start());
        const Finished finished = finish(*wait);
        QCOMPARE(finished.status, 0);
        const auto items = nlohmann::json::parse(finished.out.toStdString());
        QCOMPARE(items[0].value("value", 0ULL), 18446744073709551615ULL); // as it is after the restart
        m_servers.kill("other");
    }

    void endsWithTheBus()
    {
        succeed({ "set", "enabled", "true" });
        succeed({ "call", "write", "state=3" });
        const auto watch = startWatching({ "watch" });
        QVERIFY(watch);
        // About applicability: a value is looked up in the enumeration first, and QtDBus can wait for ever
        // for the answer of a bus that ends meanwhile.
        const auto wait = startItemctl({ "wait", "pin:inapplicable", "--timeout", "60" });
        QTRY_COMPARE(watchers(), 2);
        succeed({ "get", "state" }); // behind what both have asked
        const auto bus = QDBusConnection::sessionBus().interface()->servicePid("org.freedesktop.DBus");
        ::kill(static_cast<pid_t>(bus.value()), SIGKILL); // there is no test behind this one
        for (QProcess* process : { watch.get(), wait.get() }) {
            const Finished finished = finish(*process);
            QVERIFY2(finished.status == 5,
                     qPrintable(QString("%1 ended with %2: %3")
                                    .arg(process->arguments().first())
                                    .arg(finished.status)
                                    .arg(finished.err)));
            QVERIFY2(finished.err.contains("the session bus went away"), qPrintable(finished.err));
        }
    }

private:
    static Finished finish(QProcess& process)
    {
        if (!Patience::waitFor([&process] { return process.state() == QProcess::NotRunning; })) {
            process.kill();
        }
        return ::finish(process);
    }
    /// Starts the program and returns when the server watches for it.
    static std::unique_ptr<QProcess> startWatching(const QStringList& arguments)
    {
        auto process = startItemctl(arguments);
        if (!Patience::waitFor([] { return watchers() == 1; })) {
            return nullptr;
        }
        // The server answers in order: with this answer, that to the watcher is on its way as well. The bus
        // may notice later that whoever asked has left.
        const bool isAnswered =
            itemctl({ "get", "state" }).status == 0 && Patience::waitFor([] { return watchers() == 1; });
        return isAnswered ? std::move(process) : nullptr;
    }
};

QTEST_GUILESS_MAIN(ItemctlWaitingTest)
#include "ItemctlWaitingTest.moc"

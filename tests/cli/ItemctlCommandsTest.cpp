#include "ItemctlFixture.h"
#include "client/KELClientInterface.h"
#include "support/Rows.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

/// The program as a person or a script calls it, one call at a time.
class ItemctlCommandsTest : public ItemctlFixture
{
    Q_OBJECT

private Q_SLOTS:
    void calls_data()
    {
        // "err" is a part of it.
        const Rows<QStringList, int, QString, QString> row("arguments", "status", "out", "err");
        row("get", { "get", "state", "serial", "enabled" }, 0, "0\n18446744073709551615\nfalse\n", "");
        row("get, JSON behind", { "get", "serial", "--json" }, 0, "18446744073709551615\n", "");
        row("get several, JSON in front", { "--json", "get", "state", "enabled" }, 0, "[0,false]\n", "");
        row("get what does not apply", { "get", "pin" }, 0, "5190\n",
            "itemctl: note: pin does not apply now");
        row("get several, one does not apply", { "get", "state", "pin" }, 0, "0\n5190\n",
            "itemctl: note: pin does not apply now");
        row("get by addresses of one server",
            { "get", ":result:demo:mod:state:", ":config:demo:mod:enabled:" }, 0, "0\nfalse\n", "");
        row("get what was never written", { "get", "record" }, 1, "", "record has no value yet");
        row("get an action", { "get", "echo" }, 1, "", "itemctl call echo");
        row("a pattern is no name", { "get", "stat?" }, 3, "", R"(did you mean "state"?)");
        row("a name longer than a server takes", { "get", QString(257, 'x') }, 3, "", "no item \"xxx");
        row("more names than a server takes",
            QStringList{ "get" } + QStringList(QVector<QString>(65, "state").toList()), 0,
            QString("0\n").repeated(65), "");
        row("more patterns than a server takes",
            QStringList{ "watch", "--initial", "--timeout", "0.1" }
                + QStringList(QVector<QString>(65, "sta?e").toList()),
            0, ":result:demo:mod:state: 0 (Off)\n", "");
        row("values of an enumeration, for completion", { "complete", "--", "set", "mod:state", "" }, 0,
            "DEMO_STATE_OFF\nDEMO_STATE_ON\nDEMO_STATE_FAILED\n", "");
        row("names of a kind, for completion", { "complete", "--", "call", "x" }, 0,
            "fork\nmod:fork\ncrash\nmod:crash\necho\nmod:echo\nwrite\nmod:write\nwritemany\nmod:"
            "writemany\nstall\nmod:stall\n",
            "");
        row("pattern of servers", { "list", ":result:d[e]mo:mod:state:" }, 0,
            ":result:demo:mod:state:  0 (Off)  State\n", "");
        row("table", { "list", "rowName:[13]", "pin", "echo" }, 0,
            ":config:demo:mod:pin:        5190  PIN [does not apply]\n"
            ":result:demo:mod:rowName:1:  \"\"    Name [does not apply]\n"
            ":result:demo:mod:rowName:3:  \"\"    Name [does not apply]\n"
            ":action:demo:mod:echo:       -     Echo\n",
            "");
        row("one object a line", { "list", "--json", "rowState:2", "enabled" }, 0,
            R"({"address":":config:demo:mod:enabled:","server":"demo","module":"mod","id":"enabled",)"
            R"("kind":"config","label":"Enabled","value":false,"applicable":true})"
            "\n"
            R"({"address":":result:demo:mod:rowState:2:","server":"demo","module":"mod","id":"rowState",)"
            R"("index":2,"kind":"result","label":"Row State","value":0,"symbol":"DEMO_STATE_OFF","text":"Off","applicable":false})"
            "\n",
            "");
        row("module of no server", { "get", "bluetooth:enabled" }, 5, "",
            "no server on the session bus has a module \"bluetooth\"");
        row("wait for a module of no server", { "wait", "bluetooth:pairlistAddr:3=x" }, 5, "",
            "has a module \"bluetooth\"");
        row("like a module", { "get", "mood:enabled" }, 3, "", R"(did you mean "mod:enabled"?)");
        row("values of a bool, for completion", { "complete", "--", "set", "mod:enabled", "" }, 0,
            "true\nfalse\n", "");
        row("nothing of it when one is missing", { "get", "state", "stat" }, 3, "",
            "did you mean \"state\"?");
        row("set refused by range", { "set", ":config:demo:mod:volume:", "11" }, 1, "",
            "0 to 10 are allowed");
        row("set a result", { "set", "state", "On" }, 1, "", ":result:demo:mod:state:");
        row("set, JSON", { "set", ":config:demo:mod:volume:", "7", "--json" }, 0, "7\n", "");
        row("set what does not apply", { "set", "pin", "4711" }, 0, "", "pin does not apply now");
        row("call", { "call", "echo", "a b" }, 0, "a b\n", "");
        row("call without text", { "call", "echo" }, 0, "", "");
        row("call, JSON", { "call", "echo", "--json" }, 0, "\"\"\n", "");
        row("text like an option", { "call", "echo", "--", "--json" }, 0, "--json\n", "");
        row("text like a number", { "call", "--json", "echo", "--", "-5,1" }, 0, "\"-5,1\"\n", "");
        row("text like a list", { "call", "echo", "[a,b]" }, 0, "[a,b]\n", "");
        row("reply that reads like a failure", { "call", "echo", "Rejected" }, 0, "Rejected\n", "");
        row("call a config", { "call", "enabled" }, 3, "", R"("itemctl set enabled VALUE" writes it)");
        row("describe an action", { "describe", "fork", "--json" }, 0,
            R"({"address":":action:demo:mod:fork:","server":"demo","module":"mod","id":"fork","kind":"action",)"
            R"("label":"Fork and Return","value":null,"applicable":true,"takesText":false,"type":"action"})"
            "\n",
            "");
        row("servers", { "servers" }, 0, "tov.base.demo  mod\n", "");
        row("servers, JSON", { "servers", "--json" }, 0,
            R"([{"server":"demo","busName":"tov.base.demo","modules":["mod"]}])"
            "\n",
            "");
        row("server with prefix", { "--server", "tov.base.demo", "get", "state" }, 0, "0\n", "");
        row("server behind", { "get", "state", "--server", "demo" }, 0, "0\n", "");
        row("absent server", { "get", "state", "--server", "nosuch" }, 5, "",
            "no server \"nosuch\" on the session bus; there is demo");
        row("address of an absent server", { "get", ":config:nosuch:mod:state:" }, 5, "", "nosuch");
        row("pattern of nothing", { "list", "nosuch*" }, 3, "", "\"nosuch*\"");
        row("watch nothing", { "watch", "nosuch" }, 3, "", "\"nosuch\"");
        row("top in a pipe", { "top" }, 1, "", "needs a terminal");
        row("watch for a while", { "watch", "--timeout", "0.1" }, 0, "", "");
        row("watch for what does not come", { "watch", "--timeout", "0.1", "--count", "1" }, 4, "", "0 of 1");
        row("no subcommand", {}, 2, "", "itemctl --help");
        row("like a subcommand", { "lst" }, 2, "", R"("lst" is no subcommand; did you mean "list"?)");
        row("like no subcommand", { "explode" }, 2, "", "there are list, get, describe, servers, set,");
        row("like an option", { "get", "state", "--jsn" }, 2, "",
            R"(no option "--jsn"; did you mean "--json"?)");
        row("option instead of a text", { "call", "echo", "-x" }, 2, "",
            R"(begins with "-" goes behind "--")");
        row("no item", { "get" }, 2, "", "ITEM is required: itemctl get ITEM...;");
        row("no value", { "set", "enabled=true" }, 2, "", "VALUE is required: itemctl set ITEM VALUE;");
        row("too much", { "set", "enabled", "true", "now" }, 2, "",
            R"("now" is too much: itemctl set ITEM VALUE (a text with blanks goes in quotation marks);)");
        row("too much behind dashes", { "call", "echo", "--", "-x", "y" }, 2, "",
            R"("y" is too much: itemctl call ACTION [TEXT])");
        row("too much for no text", { "servers", "all" }, 2, "", R"("all" is too much: itemctl servers;)");
        row("assignment", { "get", "state=On" }, 3, "", R"(did you mean "state"?)");
        row("like an address", { "get", ":result:demo:mod:staet:" }, 3, "",
            R"(did you mean ":result:demo:mod:state:"?)");
        row("escape sequence", { "\x1b[31mx" }, 2, "", "\\x1b[31mx\" is no subcommand");
        row("escape sequence as a number", { "wait", "x=1", "--timeout=\x1b[31mx" }, 2, "",
            "\\x1b[31mx\" is no number");
        row("help for nothing", { "help", "explode" }, 2, "", R"("explode" is no subcommand)");
        row("wait for what holds", { "wait", "--json", "state=Off", "state!=3" }, 0,
            R"([{"address":":result:demo:mod:state:","server":"demo","module":"mod","id":"state",)"
            R"("kind":"result","label":"State","value":0,"symbol":"DEMO_STATE_OFF","text":"Off","applicable":true}])"
            "\n",
            "");
        row("wait for no item", { "wait", "stat=On" }, 3, "", "stat");
        row("wait for no value", { "wait", "state=Onn" }, 2, "", "Onn");
        row("no number", { "wait", "state=0", "--timeout", "nan" }, 2, "", "\"nan\"");
        row("no time", { "wait", "state=0", "--timeout", "-1" }, 2, "", "\"-1\"");
        row("no count", { "watch", "--count", "0", "--timeout", "0" }, 2, "", "--count");
    }

    void calls() { tellsAsTheRowSays(); }

    // Rows of lists, as a person goes on from them.
    void showsAndTakesRows_data()
    {
        const Rows<QStringList, int, QString, QString> row("arguments", "status", "out", "err");
        row("for people", { "list", "--rows", "row*" }, 0,
            "row  Name     Row State\n:1   Car Kit  Off\n:3   Phone    On\n2 of 4 rows are empty\n", "");
        row("JSON", { "list", "--rows", "--json", "rowName:1", "rowState:1" }, 0,
            R"({"server":"demo","module":"mod","list":"row","index":1,"rowName":"Car Kit",)"
            R"("rowState":{"value":0,"symbol":"DEMO_STATE_OFF","text":"Off"}})"
            "\n",
            "");
        row("taken from a row", { "call", "echo", "--row", "rowState=DEMO_STATE_ON", "--take", "rowName" }, 0,
            "Phone\n", "");
        row("and followed",
            { "call", "echo", "--row", "rowName=Car Kit", "--take", "mod:rowName", "--until",
              "state:applicable", "--timeout", "0.1" },
            4, "Car Kit\n", "has not changed since");
        row("no row", { "call", "echo", "--row", "rowName=Kit", "--take", "rowName" }, 3, "",
            "no row is as --row rowName=Kit says");
        row("several rows", { "call", "echo", "--row", "rowState!=3", "--take", "rowName" }, 3, "",
            "3 rows are as --row rowState!=3 says: , Car Kit, ");
        row("no such list", { "call", "echo", "--row", "rowName=x", "--take", "rowNam" }, 3, "",
            R"(did you mean "rowName"?)");
        row("no value of it", { "call", "echo", "--row", "rowState=Onn", "--take", "rowName" }, 2, "", "Onn");
        row("text and row", { "call", "echo", "x", "--row", "rowName=x", "--take", "rowName" }, 2, "",
            "--row");
        row("row alone", { "call", "echo", "--row", "rowName=x" }, 2, "", "--take");
    }

    void showsAndTakesRows()
    {
        for (const char* write : { "rowName:1=Car Kit", "rowName:3=Phone", "rowState:3=3" }) {
            succeed({ "call", "mod:write", write });
        }
        tellsAsTheRowSays();
        for (const char* write : { "rowName:1=", "rowName:3=", "rowState:3=0" }) {
            succeed({ "call", "mod:write", write });
        }
    }

    void textsFromOutsideAreHarmless()
    {
        const QString name = QStringLiteral("a\x1b[31m\n\u009b\u202e\u65e5");
        QCOMPARE(itemctl({ "call", "write", "rowName:0=" + name }).status, 0);
        QCOMPARE(itemctl({ "get", "rowName:0" }).out, name + '\n');
        const QString shown = "a\\x1b[31m\\n\\x9b\\u202e\u65e5";
        QVERIFY(itemctl({ "list", "rowName:0" }).out.contains(shown));
        QVERIFY(itemctl({ "describe", "rowName:0" }).out.contains(shown));
        QCOMPARE(itemctl({ "call", "echo", name }).out, shown + '\n');
        const QString json = itemctl({ "get", "rowName:0", "--json" }).out;
        QCOMPARE(json, "\"a\\u001b[31m\\n\\u009b\\u202e\u65e5\"\n");
    }

    void recordsKeepTheirDigits()
    {
        KELClientInterface client("tov.base.demo", QDBusConnection::sessionBus());
        const QVariantMap record{ { "deviceAddr", 18446744073709551615ULL }, { "deviceConnected", true } };
        QVERIFY(client.set("record", record));
        const QString json = "{\"deviceAddr\":18446744073709551615,\"deviceConnected\":true}\n";
        QCOMPARE(itemctl({ "get", "record" }).out, json);
        QCOMPARE(itemctl({ "get", "record", "--json" }).out, json);
    }

    // Any module brings them: no word of them is in the program.
    void aModulesWordsAreShown_data()
    {
        const Rows<QByteArray, QString, QString, QString> row("words", "shown", "json", "err");
        const QByteArray good =
            R"({"items":{"state":{"meaning":"a\u001bb","values":{"DEMO_STATE_ON":"lit"}}}})";
        row("words", good, "3 \\(On\\) DEMO_STATE_ON: lit\n(.*\n)*meaning        a\\\\x1bb\n",
            R"(,"words":\{"meaning":"a\\u001bb","values":\{"DEMO_STATE_ON":"lit"\}\}\}\n)", "");
        row("of other shapes", R"({"items":{"state":{"meaning":1,"values":"x"}}})",
            "0 \\(Off\\) DEMO_STATE_OFF\n", R"("words":\{"meaning":1,"values":"x"\}\}\n)", "");
        row("of another item", R"({"items":{"pin":{"meaning":"x"}}})", "writable       no\n",
            R"("writable":false\}\n)", "");
        row("damaged", "{", "writable       no\n", R"("writable":false\}\n)",
            "/ipc/mod.items.json is no JSON object");
    }

    void aModulesWordsAreShown()
    {
        QFETCH(QString, shown);
        QFETCH(QString, json);
        QFETCH(QByteArray, words);
        const QTemporaryDir data;
        QVERIFY(QDir(data.path()).mkdir("ipc"));
        QFile file(data.filePath("ipc/mod.items.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(words);
        file.close();
        const Run with{ { { "XDG_DATA_HOME", data.path() } }, false, {} };
        const Finished lines = run(ITEMCTL, { "describe", "state" }, with);
        QVERIFY2(QRegularExpression(shown).match(lines.out).hasMatch(), qPrintable(lines.out));
        const Finished object = run(ITEMCTL, { "describe", "state", "--json" }, with);
        QVERIFY2(QRegularExpression(json + "\\z").match(object.out).hasMatch(), qPrintable(object.out));
        QCOMPARE(object.status, 0);
        QFETCH(QString, err);
        QVERIFY2(err.isEmpty() ? lines.err.isEmpty() : lines.err.contains(err), qPrintable(lines.err));
    }

    void helpIsASubcommandAsWell()
    {
        QCOMPARE(itemctl({ "help" }).out, itemctl({ "--help" }).out);
        QCOMPARE(itemctl({ "help", "wait" }).out, itemctl({ "wait", "--help" }).out);
        QVERIFY(itemctl({ "help", "wait" }).out.contains("CONDITION"));
    }

    void fullDisk()
    {
        QProcess process;
        process.setStandardOutputFile("/dev/full");
        process.start(ITEMCTL, { "list" });
        const Finished finished = finish(process);
        QCOMPARE(finished.status, 1);
        QVERIFY(finished.err.contains("standard output"));
    }

    // Whoever closes it ("head") has what was wanted.
    void closedPipe()
    {
        const QTemporaryDir folder;
        const QString script = "trap '' PIPE; mkfifo closed; exec 3>&1\n"
                               "{ read nothing <closed; " ITEMCTL " list 2>&3; echo $? >&3; }"
                               " | { exec <&-; echo >closed; }";
        const Finished shell = run("sh", { "-c", script }, { {}, false, folder.path() });
        QCOMPARE(shell.out, "1\n");
    }
};

QTEST_GUILESS_MAIN(ItemctlCommandsTest)
#include "ItemctlCommandsTest.moc"

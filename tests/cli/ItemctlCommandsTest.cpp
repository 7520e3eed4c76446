#include "ItemctlFixture.h"
#include "client/KELClientInterface.h"

#include <nlohmann/json.hpp>

#include <QRegularExpression>
#include <QTest>

/// The program as a person or a script calls it, one call at a time.
class ItemctlCommandsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void calls_data();
    void calls();
    void listIsATable();
    void jsonIsOneObjectALine();
    void textsFromOutsideAreHarmless();
    void recordsKeepTheirDigits();
    void namesAreLookedForOnAllServers();
    void withoutServerOrBus();
    void fullDisk();
    void silentServer();

private:
    ItemctlFixture m_fixture;
};

namespace {

Finished itemctl(const QStringList& arguments)
{
    return ItemctlFixture::itemctl(arguments);
}

} // namespace

void ItemctlCommandsTest::initTestCase()
{
    const QString error = m_fixture.start();
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void ItemctlCommandsTest::cleanupTestCase()
{
    m_fixture.stop();
}

void ItemctlCommandsTest::calls_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err"); // contained
    using List = QStringList;
    QTest::newRow("get") << List{ "get", "state", "serial", "enabled" } << 0
                         << "0\n18446744073709551615\nfalse\n"
                         << "";
    QTest::newRow("get, JSON behind") << List{ "get", "serial", "--json" } << 0 << "18446744073709551615\n"
                                      << "";
    QTest::newRow("get several, JSON in front")
        << List{ "--json", "get", "state", "enabled" } << 0 << "[0,false]\n"
        << "";
    QTest::newRow("get what does not apply") << List{ "get", "pin" } << 0 << "5190\n"
                                             << "itemctl: note: pin does not apply now";
    QTest::newRow("get what was never written") << List{ "get", "record" } << 1 << ""
                                                << "record has no value yet";
    QTest::newRow("get an action") << List{ "get", "echo" } << 1 << ""
                                   << "itemctl call echo";
    QTest::newRow("get an action, JSON") << List{ "get", "echo", "--json" } << 1 << ""
                                         << "itemctl call echo";
    QTest::newRow("values of an enumeration, for completion")
        << List{ "values", "state" } << 0 << "DEMO_STATE_OFF\nDEMO_STATE_ON\nDEMO_STATE_FAILED\n"
        << "";
    QTest::newRow("values of a bool, for completion")
        << List{ "values", "mod:enabled" } << 0 << "true\nfalse\n"
        << "";
    QTest::newRow("pattern over full addresses")
        << List{ "list", ":config:*:pin:" } << 0 << ":config:demo:mod:pin:  5190  PIN [does not apply]\n"
        << "";
    QTest::newRow("nothing of it when one is missing") << List{ "get", "state", "stat" } << 3 << ""
                                                       << "did you mean \"state\"?";
    QTest::newRow("config and result") << List{ "get", "volume" } << 3 << ""
                                       << ":config:demo:mod:volume:, :result:demo:mod:volume:";
    QTest::newRow("list without index") << List{ "get", "rowName" } << 3 << ""
                                        << "rowName:0 to rowName:3";
    QTest::newRow("set refused by range") << List{ "set", ":config:demo:mod:volume:", "11" } << 1 << ""
                                          << "0 to 10 are allowed";
    QTest::newRow("set refused by type") << List{ "set", "enabled", "maybe" } << 1 << ""
                                         << "true or false";
    QTest::newRow("set a result") << List{ "set", "state", "On" } << 1 << ""
                                  << ":result:demo:mod:state:";
    QTest::newRow("set an action") << List{ "set", "echo", "x" } << 1 << ""
                                   << "is an action";
    QTest::newRow("set, JSON") << List{ "set", ":config:demo:mod:volume:", "7", "--json" } << 0 << "7\n"
                               << "";
    QTest::newRow("set what does not apply") << List{ "set", "pin", "4711" } << 0 << ""
                                             << "pin does not apply now";
    QTest::newRow("set the empty text") << List{ "set", "pin", "" } << 1 << ""
                                        << "0 characters";
    QTest::newRow("call") << List{ "call", "echo", "a b" } << 0 << "a b\n"
                          << "";
    QTest::newRow("call without text") << List{ "call", "echo" } << 0 << ""
                                       << "";
    QTest::newRow("call, JSON") << List{ "call", "echo", "--json" } << 0 << "\"\"\n"
                                << "";
    QTest::newRow("text like an option") << List{ "call", "echo", "--", "--json" } << 0 << "--json\n"
                                         << "";
    QTest::newRow("text like a number") << List{ "call", "--json", "echo", "--", "-5,1" } << 0 << "\"-5,1\"\n"
                                        << "";
    QTest::newRow("text like a list") << List{ "call", "echo", "[a,b]" } << 0 << "[a,b]\n"
                                      << "";
    QTest::newRow("reply that reads like a failure")
        << List{ "call", "echo", "Rejected" } << 0 << "Rejected\n"
        << "";
    QTest::newRow("call a config") << List{ "call", "enabled" } << 3 << ""
                                   << "not an action";
    QTest::newRow("other case") << List{ "call", "Echo" } << 3 << ""
                                << "did you mean \"echo\"?";
    QTest::newRow("describe an action")
        << List{ "describe", "fork", "--json" } << 0
        << R"({"address":":action:demo:mod:fork:","server":"demo","module":"mod","id":"fork","kind":"action",)"
           R"("label":"Fork and Return","value":null,"applicable":true,"takesText":false,"type":"action"})"
           "\n"
        << "";
    QTest::newRow("servers") << List{ "servers", "--json" } << 0
                             << R"([{"server":"demo","busName":"tov.base.demo","modules":["mod"]}])"
                                "\n"
                             << "";
    QTest::newRow("server with prefix") << List{ "--server", "tov.base.demo", "get", "state" } << 0 << "0\n"
                                        << "";
    QTest::newRow("server behind") << List{ "get", "state", "--server", "demo" } << 0 << "0\n"
                                   << "";
    QTest::newRow("absent server") << List{ "get", "state", "--server", "nosuch" } << 5 << ""
                                   << "no server \"nosuch\"";
    QTest::newRow("address of an absent server") << List{ "get", ":config:nosuch:mod:state:" } << 5 << ""
                                                 << "nosuch";
    QTest::newRow("pattern of nothing") << List{ "list", "nosuch*" } << 3 << ""
                                        << "\"nosuch*\"";
    QTest::newRow("watch nothing") << List{ "watch", "nosuch" } << 3 << ""
                                   << "\"nosuch\"";
    QTest::newRow("no subcommand") << List{} << 2 << ""
                                   << "itemctl --help";
    QTest::newRow("unknown subcommand") << List{ "lst" } << 2 << ""
                                        << "\"lst\" is no subcommand";
    QTest::newRow("unknown option") << List{ "list", "--all" } << 2 << ""
                                    << "--all";
    QTest::newRow("no item") << List{ "get" } << 2 << ""
                             << "ITEM";
    QTest::newRow("too much") << List{ "set", "enabled", "true", "now" } << 2 << ""
                              << "now";
    QTest::newRow("no number") << List{ "wait", "state=0", "--timeout", "nan" } << 2 << ""
                               << "\"nan\"";
    QTest::newRow("no count") << List{ "watch", "--count", "0" } << 2 << ""
                              << "--count";
}

void ItemctlCommandsTest::calls()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, err);
    const Finished finished = itemctl(arguments);
    QTEST(finished.out, "out");
    QVERIFY2(err.isEmpty() ? finished.err.isEmpty() : finished.err.contains(err), qPrintable(finished.err));
    // A reason is one line that says who speaks.
    QVERIFY(finished.err.isEmpty()
            || (finished.err.startsWith("itemctl: ") && finished.err.count('\n') <= 2));
    QTEST(finished.status, "status");
}

void ItemctlCommandsTest::listIsATable()
{
    const Finished all = itemctl({ "list" });
    QCOMPARE(all.status, 0);
    const QStringList lines = all.out.split('\n', Qt::SkipEmptyParts);
    QVERIFY(lines.size() > 15);
    QVERIFY(lines.filter(QRegularExpression("^:result:demo:mod:state: +0 \\(Off\\) +State$")).size() == 1);
    QVERIFY(lines.filter(QRegularExpression("^:config:demo:mod:pin: .*PIN \\[does not apply\\]$")).size()
            == 1);
    QVERIFY(lines.filter(QRegularExpression("^:action:demo:mod:echo: +- +Echo$")).size() == 1);
    QCOMPARE(lines[0].indexOf("Enabled"), lines.filter(":mod:state:").first().indexOf("State"));
    QVERIFY(!all.out.contains('\x1b'));
    const QStringList rows =
        itemctl({ "list", "rowName:[13]", "rowState" }).out.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(rows.size(), 6);
    QVERIFY(rows[1].startsWith(":result:demo:mod:rowName:3:"));
}

void ItemctlCommandsTest::jsonIsOneObjectALine()
{
    const QStringList lines = itemctl({ "list", "--json" }).out.split('\n', Qt::SkipEmptyParts);
    QVERIFY(lines.size() > 15);
    for (const QString& line : lines) {
        const auto object = nlohmann::json::parse(line.toStdString(), nullptr, false);
        for (const char* key : { "address", "id", "module", "kind", "value", "label", "applicable" })
            QVERIFY2(object.contains(key), qPrintable(line));
    }
    const auto row = nlohmann::json::parse(itemctl({ "list", "--json", "rowState:2" }).out.toStdString());
    QCOMPARE(row.value("id", ""), std::string("rowState"));
    QCOMPARE(row.value("index", -1), 2);
    QCOMPARE(row.value("text", ""), std::string("Off"));
    QVERIFY(row["value"].is_number_integer());
}

void ItemctlCommandsTest::textsFromOutsideAreHarmless()
{
    const QString name = QStringLiteral("a\x1b[31m\n\u009b\u202e\u65e5");
    QCOMPARE(itemctl({ "call", "write", "rowName:0=" + name }).status, 0);
    QCOMPARE(itemctl({ "get", "rowName:0" }).out, name + '\n');
    const QString shown = QStringLiteral("a\\x1b[31m\\n\\x9b\\u202e\u65e5");
    QVERIFY(itemctl({ "list", "rowName:0" }).out.contains(shown));
    QVERIFY(itemctl({ "describe", "rowName:0" }).out.contains(shown));
    QCOMPARE(itemctl({ "call", "echo", name }).out, shown + '\n');
    const QString json = itemctl({ "get", "rowName:0", "--json" }).out;
    QCOMPARE(json, QStringLiteral("\"a\\u001b[31m\\n\\u009b\\u202e\u65e5\"\n"));
}

void ItemctlCommandsTest::recordsKeepTheirDigits()
{
    KELClientInterface client("tov.base.demo", QDBusConnection::sessionBus());
    const QVariantMap record{ { "deviceAddr", 18446744073709551615ULL }, { "deviceConnected", true } };
    QVERIFY(client.set("record", record));
    const QString json =
        QStringLiteral(R"({"deviceAddr":18446744073709551615,"deviceConnected":true})") + '\n';
    QCOMPARE(itemctl({ "get", "record" }).out, json);
    QCOMPARE(itemctl({ "get", "record", "--json" }).out, json);
}

void ItemctlCommandsTest::namesAreLookedForOnAllServers()
{
    QVERIFY(m_fixture.startServer("other", "side"));
    const Finished several = itemctl({ "get", "enabled" });
    QCOMPARE(several.status, 3);
    QVERIFY(several.err.contains(":config:demo:mod:enabled:, :config:other:side:enabled:"));
    QCOMPARE(itemctl({ "set", "side:enabled", "true" }).status, 0);
    QCOMPARE(itemctl({ "get", "enabled", "--server", "other" }).out, QStringLiteral("true\n"));
    QCOMPARE(itemctl({ "get", "enabled", "--server", "demo" }).out, QStringLiteral("false\n"));
    QCOMPARE(itemctl({ "list", "enabled" }).out.count('\n'), 2);
    m_fixture.endServer("other");
}

void ItemctlCommandsTest::withoutServerOrBus()
{
    m_fixture.endServer("demo");
    for (const QStringList& arguments : { QStringList{ "list" }, QStringList{ "get", "state" },
                                          QStringList{ "wait", "state=On" }, QStringList{ "servers" } }) {
        const Finished finished = itemctl(arguments);
        QCOMPARE(finished.status, 5);
        QVERIFY(finished.err.startsWith("itemctl: no server"));
    }
    QVERIFY(m_fixture.startServer("demo", "mod"));
    QProcess lonely;
    lonely.setProgram(ItemctlFixture::itemctlPath());
    lonely.setArguments({ "list" });
    lonely.setProcessEnvironment([] {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        return environment;
    }());
    lonely.start();
    const Finished finished = ItemctlFixture::finish(lonely);
    QCOMPARE(finished.status, 5);
    QVERIFY(finished.err.contains("DBUS_SESSION_BUS_ADDRESS"));
}

void ItemctlCommandsTest::fullDisk()
{
    QProcess process;
    process.setStandardOutputFile("/dev/full");
    process.start(ItemctlFixture::itemctlPath(), { "list" });
    const Finished finished = ItemctlFixture::finish(process);
    QCOMPARE(finished.status, 1);
    QVERIFY(finished.err.contains("standard output"));
}

void ItemctlCommandsTest::silentServer()
{
    QVERIFY(m_fixture.startServer("mute", "side"));
    const auto call = ItemctlFixture::startItemctl({ "call", "side:stall" });
    // From the moment on that the action runs, the server answers nobody.
    KELClientInterface client("tov.base.mute", QDBusConnection::sessionBus());
    client.setTimeout(std::chrono::milliseconds(100));
    QTRY_VERIFY(!client.modules());
    const Finished named = itemctl({ "wait", "enabled=true", "--server", "mute", "--timeout", "0" });
    QCOMPARE(named.status, 4);
    QVERIFY(named.err.contains("did not answer"));
    // What another server has is found all the same.
    const Finished found = itemctl({ "wait", "state=0", "--timeout", "1" });
    QCOMPARE(found.status, 0);
    QVERIFY(found.err.contains("tov.base.mute did not answer"));
    m_fixture.endServer("mute");
    QCOMPARE(ItemctlFixture::finish(*call).status, 4);
}

QTEST_GUILESS_MAIN(ItemctlCommandsTest)
#include "ItemctlCommandsTest.moc"

#include "ItemctlFixture.h"
#include "client/KELClientInterface.h"
#include "support/Rows.h"

#include <nlohmann/json.hpp>

#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QTest>

#include <csignal>

/// Servers that come and go, are silent, or are several.
class ItemctlServersTest : public ItemctlFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTRY_COMPARE(watchers(), 0);
        succeed({ "call", "write", "enabled=false" });
        succeed({ "call", "write", "state=0" });
    }

    // By a name of its own: what it is set to is stored.
    void namesAreLookedForOnAllServers()
    {
        QVERIFY(m_servers.start("third", "side"));
        const Finished several = itemctl({ "get", "enabled" });
        QCOMPARE(several.status, 3);
        QVERIFY(several.err.contains(":config:demo:mod:enabled:, :config:third:side:enabled:"));
        QCOMPARE(itemctl({ "set", "side:enabled", "true" }).status, 0);
        QCOMPARE(itemctl({ "get", "enabled", "--server", "third" }).out, "true\n");
        QCOMPARE(itemctl({ "get", "enabled", "--server", "demo" }).out, "false\n");
        QCOMPARE(itemctl({ "list", "enabled" }).out.count('\n'), 2);
        m_servers.kill("third");
    }

    void oneOfTwoServersIsGone_data()
    {
        const Rows<QStringList, int, QString> row("arguments", "status", "err");
        const QString gone = "server other is not on the bus";
        row("get", { "get", "side" }, 5, gone);
        row("several", { "get", "state", "side" }, 5, gone);
        row("call", { "call", "ecko" }, 5, gone);
        row("wait", { "wait", "side=1" }, 5, gone);
        row("like another", { "get", "enabld" }, 5, gone + R"(; no item "enabld"; did you mean "enabled"?)");
        row("watch", { "watch", "side*" }, 5, gone);
        row("list", { "list", "side*" }, 5, gone);
        row("address beside a name", { "get", "state", ":config:other:side:pin:" }, 5, gone);
        row("what another has", { "get", "state" }, 0, "");
        row("the other is named", { "get", "side", "--server", "demo" }, 3, "no item \"side\"");
    }

    void oneOfTwoServersIsGone()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, err);
        const Run with{ { { "ITEMCTL_SERVERS", "demo tov.base.other" } }, false, {} };
        const Finished finished = run(ITEMCTL, arguments, with);
        QVERIFY2(finished.err.contains(err), qPrintable(finished.err));
        QTEST(finished.status, "status");
        // Unless told which servers there should be, a name may as well be a mistake, if not a whole address.
        if (arguments.size() == 2) {
            QCOMPARE(itemctl(arguments).status, finished.status == 5 ? 3 : finished.status);
        }
    }

    void withoutServerOrBus()
    {
        m_servers.kill();
        for (const QStringList& arguments :
             QList<QStringList>{ { "list" }, { "get", "state" }, { "wait", "state=On" }, { "servers" } }) {
            const Finished finished = itemctl(arguments);
            QCOMPARE(finished.status, 5);
            QVERIFY(finished.err.startsWith("itemctl: no server"));
        }
        QCOMPARE(itemctl({ "servers", "--json" }).out, "[]\n");
        QVERIFY(m_servers.start());
        const Finished finished = run(
            ITEMCTL, { "list" }, { { { "DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent" } }, false, {} });
        QCOMPARE(finished.status, 5);
        QVERIFY(finished.err.contains("DBUS_SESSION_BUS_ADDRESS"));
    }

    void listSaysThatAServerDoesNotAnswer()
    {
        QVERIFY(QDBusConnection::sessionBus().registerService("tov.base.broken"));
        const Finished list = itemctl({ "list", "state" });
        QVERIFY(QDBusConnection::sessionBus().unregisterService("tov.base.broken"));
        QVERIFY2(list.out.startsWith(":result:demo:mod:state:"), qPrintable(list.out));
        QVERIFY(list.err.startsWith("itemctl: "));
        QCOMPARE(list.status, 4);
    }

    void silentServer()
    {
        QVERIFY(m_servers.start("mute", "side"));
        const auto call = startItemctl({ "call", "side:stall" });
        // From the moment on that the action runs, the server answers nobody.
        KELClientInterface client("tov.base.mute", QDBusConnection::sessionBus());
        client.setTimeout(std::chrono::milliseconds(100));
        QTRY_VERIFY(!client.modules());
        QElapsedTimer time;
        time.start();
        const Finished named = itemctl({ "wait", "enabled=true", "--server", "mute", "--timeout", "0" });
        QVERIFY2(time.elapsed() >= 900, "a server gets a second, however short the wait is");
        QCOMPARE(named.status, 4);
        QVERIFY(named.err.contains("did not answer"));
        // What another server has is found all the same.
        const Finished found = itemctl({ "wait", "state=0", "--timeout", "1" });
        QCOMPARE(found.status, 0);
        QVERIFY(found.err.contains("tov.base.mute did not answer"));
        m_servers.kill("mute");
        QCOMPARE(finish(*call).status, 4);
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
};

QTEST_GUILESS_MAIN(ItemctlServersTest)
#include "ItemctlServersTest.moc"

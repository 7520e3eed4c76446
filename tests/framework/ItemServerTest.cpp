#include "client/KELClientInterface.h"
#include "support/DemoServers.h"
#include "support/Rows.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

using ipc::ClientError;
using ipc::ItemRecords;

namespace {

QStringList addresses(const ItemRecords& records)
{
    QStringList found;
    for (const ipc::ItemRecord& record : records) {
        found << record.address;
    }
    return found;
}

} // namespace

/// A real server process on a real bus, as its clients meet it.
class ItemServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(m_demo.startBus(), QString()); }

    void init()
    {
        QVERIFY(m_demo.start());
        m_client = std::make_unique<KELClientInterface>(DemoBusName, QDBusConnection::sessionBus());
    }

    void cleanup()
    {
        m_client.reset();
        m_demo.end();
        m_demo.removeState();
    }

    void descriptionsTellWhatBinds_data()
    {
        const Rows<QString, QVariantMap> row("item", "expected");
        row("config", "pin",
            { { "default", "5190" },
              { "minimum", 4U },
              { "maximum", 8U },
              { "private", true },
              { "writable", true },
              { "hint", "4 to 8 digits" } });
        row("opened result", "record", { { "writable", true }, { "private", false }, { "hint", {} } });
        row("first row", "rowName:0", { { "index", 0 }, { "writable", false } });
        const auto address = [](const char* text) {
            return QVariantMap{ { "address", QString(text) } };
        };
        row("module and id", "mod:state", address(":result:demo:mod:state:"));
        row("full address", ":config:demo:mod:volume:", address(":config:demo:mod:volume:"));
        row("row with module", "mod:rowName:3", address(":result:demo:mod:rowName:3:"));
        row("row, full address", ":result:demo:mod:rowName:2:", address(":result:demo:mod:rowName:2:"));
        row("action with a text", "echo", { { "takesText", true } });
        row("action without", "fork", { { "takesText", false } });
    }

    void descriptionsTellWhatBinds()
    {
        QFETCH(QString, item);
        QFETCH(QVariantMap, expected);
        QVERIFY(m_client->set("pin", "4711"));
        const auto description = m_client->describe(item);
        QVERIFY2(description, qPrintable(description.error().message));
        QVariantMap found;
        for (const QString& key : expected.keys()) {
            found.insert(key, description->value(key));
        }
        QCOMPARE(found, expected);
    }

    void watchersHearOfApplicability()
    {
        QVERIFY(m_client->trigger("writemany", "somebody"));
        const auto snapshot = m_client->watch({ "rowName" });
        QCOMPARE(snapshot->items.size(), 4);
        QCOMPARE(snapshot->items.first().properties.value("applicable"), QVariant(false));
        QSignalSpy changed(m_client.get(), &KELClientInterface::changed);
        m_client->setItem("enabled", true);
        QVERIFY(changed.wait());
        // Its own value, and the row that is filled: name and state of it; no other row.
        QCOMPARE(addresses(changed.first().first().value<ItemRecords>()),
                 QStringList({ ":config:demo:mod:enabled:", ":result:demo:mod:rowName:0:",
                               ":result:demo:mod:rowState:0:" }));
    }

    void aSecondWatchAnswersWhatTheFirstHeard()
    {
        QVERIFY(m_client->set("enabled", true));
        QVERIFY(m_client->watch());
        QVERIFY(m_client->trigger("writemany", "somebody"));
        QSignalSpy changed(m_client.get(), &KELClientInterface::changed);
        const auto snapshot = m_client->watch({ "rowName:0" });
        QCOMPARE(snapshot->items.first().properties.value("value"), QVariant("somebody"));
        // Its signals stand before the answer and are in it; they are not told once more.
        QVERIFY(m_client->trigger("write", "state=200"));
        QTRY_VERIFY(!changed.isEmpty());
        QCOMPARE(addresses(changed.first().first().value<ItemRecords>()),
                 QStringList(":result:demo:mod:state:"));
    }

    void aForkedCopyLeavesSilently()
    {
        QVERIFY(m_client->trigger("fork", QString()));
        const auto child = m_client->get("serial")->toString();
        // A copy that has left is a zombie until its parent asks for it.
        const auto hasLeft = [&child] {
            QFile status(QString("/proc/%1/stat").arg(child));
            return status.open(QIODevice::ReadOnly) && status.readAll().contains(") Z ");
        };
        QTRY_VERIFY(hasLeft());
        QCOMPARE(*m_client->trigger("echo", "still here"), "still here");
    }

    void anAbsentOrSilentServerIsTold()
    {
        KELClientInterface nobody("tov.base.nobody", QDBusConnection::sessionBus());
        const auto absent = nobody.get("state");
        QCOMPARE(absent.error().kind, ClientError::Kind::NoServer);
        QVERIFY(absent.error().message.contains("tov.base.nobody is not on the session bus"));
        QCOMPARE(m_client->get("nix").error().kind, ClientError::Kind::NoSuchItem);
        QCOMPARE(m_client->get("volume").error().kind, ClientError::Kind::Ambiguous);
        QCOMPARE(m_client->set("state", 3).error().kind, ClientError::Kind::Refused);

        const auto gone = m_client->trigger("crash", QString());
        QVERIFY(gone.error().kind == ClientError::Kind::NoAnswer);
        QVERIFY(gone.error().message.contains("left the bus before it answered"));
        QVERIFY(m_demo.process().waitForFinished());
        QVERIFY(m_demo.start());

        m_client->setTimeout(std::chrono::milliseconds(50));
        QElapsedTimer time;
        time.start();
        const auto silent = m_client->trigger("stall", QString());
        QVERIFY2(silent.error().kind == ClientError::Kind::NoAnswer, qPrintable(silent.error().message));
        QVERIFY(silent.error().message.contains("did not answer within 0.05 s"));
        QVERIFY(time.elapsed() < 5000);
        m_demo.kill(); // it waits for a signal and nothing else
    }

    void aServerThatReturnsIsSilentUntilItIsWatched()
    {
        QVERIFY(m_client->watch());
        QSignalSpy left(m_client.get(), &KELClientInterface::serverLeft);
        QSignalSpy returned(m_client.get(), &KELClientInterface::serverReturned);
        QSignalSpy changed(m_client.get(), &KELClientInterface::changed);
        m_demo.end();
        QVERIFY(m_demo.start());
        QTRY_COMPARE(left.size() * 10 + returned.size(), 11);
        QVERIFY(m_client->trigger("write", "state=3"));
        QVERIFY(m_client->list()); // the signal stands before this answer
        QCoreApplication::processEvents();
        QVERIFY(changed.isEmpty());
    }

    void sharedClientsAreSharedAndOnlyOfWhatIsThere()
    {
        KELClientInterface* first = KELClientInterface::getSessionBusClient(DemoBusName, nullptr);
        QVERIFY(first);
        QCOMPARE(KELClientInterface::getSessionBusClient(DemoBusName, nullptr), first);
        QCOMPARE(KELClientInterface::getSessionBusClient("tov.base.nobody", nullptr), nullptr);
        QVERIFY(QDBusConnection::sessionBus().registerService("tov.base.another"));
        QVERIFY(KELClientInterface::getSessionBusClient("tov.base.another", nullptr) != first);
        QVERIFY(QDBusConnection::sessionBus().unregisterService("tov.base.another"));
    }

private:
    DemoServers m_demo;
    std::unique_ptr<KELClientInterface> m_client;
};

QTEST_GUILESS_MAIN(ItemServerTest)
#include "ItemServerTest.moc"

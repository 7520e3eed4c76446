#include "DemoServer.h"

#include "client/KELClientInterface.h"

#include <QDBusMessage>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using ipc::ClientError;
using ipc::ItemRecords;

/// A real server process on a real bus, as its clients meet it.
class ItemServerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void valuesKeepTheirType();
    void actionsAnswer();
    void oneSignalCarriesOnlyWhatChanged();
    void watchersHearOfApplicability();
    void observedWritesAreAnnouncedEachTime();
    void configsSurviveARestartAndAKill();
    void aForkedCopyLeavesSilently();
    void aSecondServerOfTheSameNameIsRefused();
    void anAbsentOrSilentServerIsTold();
    void sharedClientsAreSharedAndOnlyOfWhatIsThere();
    void recordsOfOtherModulesTravel();

private:
    /// All values changed by the time that the predicate's item shows up.
    static QVariantMap changeOf(const QList<QVariant>& signal, const QString& address);

    DemoServer m_demo;
    std::unique_ptr<KELClientInterface> m_client;
};

namespace {

QStringList addresses(const ItemRecords& records)
{
    QStringList found;
    for (const ipc::ItemRecord& record : records)
        found << record.address;
    return found;
}

} // namespace

void ItemServerTest::initTestCase()
{
    const QString error = m_demo.startBus();
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void ItemServerTest::init()
{
    QVERIFY(m_demo.startServer());
    m_client = std::make_unique<KELClientInterface>(BusName, QDBusConnection::sessionBus());
}

void ItemServerTest::cleanup()
{
    m_client.reset();
    m_demo.stopServer();
    m_demo.removeState();
}

void ItemServerTest::cleanupTestCase()
{
    m_demo.stopBus();
}

void ItemServerTest::valuesKeepTheirType()
{
    QCOMPARE(*m_client->get(QStringLiteral("serial")), QVariant(18446744073709551615ULL));
    QCOMPARE(*m_client->get(QStringLiteral("enabled")), QVariant(false));
    QCOMPARE(*m_client->get(QStringLiteral("state")), QVariant(0));
    const auto description = m_client->describe(QStringLiteral("state"));
    const auto values = qdbus_cast<ipc::EnumValues>(description->value(QStringLiteral("enumeration")));
    QCOMPARE(values.size(), 3);
    QCOMPARE(values.last().symbol, QStringLiteral("DEMO_STATE_FAILED"));
    QCOMPARE(description->value(QStringLiteral("text")).toString(), QStringLiteral("Off"));
}

void ItemServerTest::actionsAnswer()
{
    QCOMPARE(*m_client->trigger(QStringLiteral("echo"), QStringLiteral("grüße\n")),
             QStringLiteral("grüße\n"));
    QCOMPARE(*m_client->trigger(QStringLiteral("echo"), QString()), QString());
}

QVariantMap ItemServerTest::changeOf(const QList<QVariant>& signal, const QString& address)
{
    for (const ipc::ItemRecord& record : signal.first().value<ItemRecords>()) {
        if (record.address == address)
            return record.properties;
    }
    return {};
}

void ItemServerTest::oneSignalCarriesOnlyWhatChanged()
{
    QVERIFY(m_client->watch());
    QSignalSpy changed(m_client.get(), &KELClientInterface::changed);
    QVERIFY(m_client->trigger(QStringLiteral("writemany"), QStringLiteral("first")));
    QVERIFY(changed.wait());
    // The same once more changes nothing; what follows is therefore the next signal.
    QVERIFY(m_client->trigger(QStringLiteral("writemany"), QStringLiteral("first")));
    QVERIFY(m_client->trigger(QStringLiteral("write"), QStringLiteral("state=3")));
    QTRY_COMPARE(changed.size(), 2);
    QCOMPARE(addresses(changed[0].first().value<ItemRecords>()),
             QStringList(QStringLiteral(":result:demo:mod:rowName:0:")));
    QCOMPARE(addresses(changed[1].first().value<ItemRecords>()),
             QStringList(QStringLiteral(":result:demo:mod:state:")));
    const QVariantMap state = changeOf(changed[1], QStringLiteral(":result:demo:mod:state:"));
    QCOMPARE(state, (QVariantMap{ { "value", 3 }, { "text", "On" } }));
}

void ItemServerTest::watchersHearOfApplicability()
{
    QVERIFY(m_client->trigger(QStringLiteral("writemany"), QStringLiteral("somebody")));
    const auto snapshot = m_client->watch({ QStringLiteral("rowName") });
    QCOMPARE(snapshot->items.size(), 4);
    QCOMPARE(snapshot->items.first().properties.value(QStringLiteral("applicable")), QVariant(false));
    QSignalSpy changed(m_client.get(), &KELClientInterface::changed);
    QVERIFY(m_client->set(QStringLiteral("enabled"), true));
    QVERIFY(changed.wait());
    // Its own value, and the row that is filled: name and state of it; no other row.
    QCOMPARE(addresses(changed.first().first().value<ItemRecords>()),
             QStringList({ ":config:demo:mod:enabled:", ":result:demo:mod:rowName:0:",
                           ":result:demo:mod:rowState:0:" }));
    QCOMPARE(changeOf(changed.first(), QStringLiteral(":result:demo:mod:rowState:0:")),
             (QVariantMap{ { "applicable", true } }));
}

void ItemServerTest::observedWritesAreAnnouncedEachTime()
{
    for (const bool value : { true, true, false })
        QVERIFY(m_client->set(QStringLiteral("enabled"), value));
    QVERIFY(m_client->set(QStringLiteral("pin"), QStringLiteral("1234"))); // not observed
    m_demo.stopServer();
    const QString output = QString::fromUtf8(m_demo.process().readAll());
    QCOMPARE(output.count(QStringLiteral("itemChanged :config:demo:mod:enabled: true")), 2);
    QCOMPARE(output.count(QStringLiteral("itemChanged")), 3);
}

void ItemServerTest::configsSurviveARestartAndAKill()
{
    QVERIFY(m_client->set(QStringLiteral("enabled"), true));
    QVERIFY(m_client->set(QStringLiteral("pin"), QStringLiteral("4711")));
    QVERIFY(m_client->list()); // an answer comes after what was to be written
    m_demo.process().kill();
    m_demo.process().waitForFinished();
    m_demo.process().readAll();
    QVERIFY(m_demo.startServer());
    QCOMPARE(*m_client->get(QStringLiteral("pin")), QVariant("4711"));
    QCOMPARE(*m_client->get(QStringLiteral("enabled")), QVariant(true));
    m_demo.process().waitForReadyRead(0);
    QVERIFY(m_demo.process().readAll().contains("itemChanged :config:demo:mod:enabled: true"));
}

void ItemServerTest::aForkedCopyLeavesSilently()
{
    QVERIFY(m_client->trigger(QStringLiteral("fork"), QString()));
    const auto child = m_client->get(QStringLiteral("serial"))->toString();
    // A copy that has left is a zombie until its parent asks for it.
    QFile status(QStringLiteral("/proc/%1/stat").arg(child));
    const auto hasLeft = [&] {
        return status.open(QIODevice::ReadOnly) && [&] {
            const bool left = status.readAll().contains(") Z ");
            status.close();
            return left;
        }();
    };
    QTRY_VERIFY(hasLeft());
    QCOMPARE(*m_client->trigger(QStringLiteral("echo"), QStringLiteral("still here")),
             QStringLiteral("still here"));
}

void ItemServerTest::aSecondServerOfTheSameNameIsRefused()
{
    QProcess second;
    second.start(QStringLiteral(ITEM_TEST_SERVER),
                 { QStringLiteral("demo"), m_demo.filePath(QStringLiteral("other")), QStringLiteral("mod") });
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(second.readAllStandardError().contains("tov.base.demo is taken"));
    QVERIFY(m_client->get(QStringLiteral("state")));
}

void ItemServerTest::anAbsentOrSilentServerIsTold()
{
    KELClientInterface nobody(QStringLiteral("tov.base.nobody"), QDBusConnection::sessionBus());
    const auto absent = nobody.get(QStringLiteral("state"));
    QCOMPARE(absent.error().kind, ClientError::Kind::NoServer);
    QVERIFY(absent.error().message.contains(QStringLiteral("tov.base.nobody is not on the session bus")));

    const auto gone = m_client->trigger(QStringLiteral("crash"), QString());
    QVERIFY(gone.error().kind == ClientError::Kind::NoAnswer);
    QVERIFY(gone.error().message.contains(QStringLiteral("left the bus before it answered")));
    m_demo.process().waitForFinished();
    QVERIFY(m_demo.startServer());

    m_client->setTimeout(std::chrono::milliseconds(50));
    const auto silent = m_client->trigger(QStringLiteral("stall"), QString());
    QVERIFY2(silent.error().kind == ClientError::Kind::NoAnswer, qPrintable(silent.error().message));
    QVERIFY(silent.error().message.contains(QStringLiteral("did not answer within 0.05 s")));
    m_demo.process().kill(); // it waits for a signal and nothing else
    m_demo.process().waitForFinished();
}

void ItemServerTest::sharedClientsAreSharedAndOnlyOfWhatIsThere()
{
    KELClientInterface* first = KELClientInterface::getSessionBusClient(BusName, nullptr);
    QVERIFY(first);
    QCOMPARE(KELClientInterface::getSessionBusClient(BusName, nullptr), first);
    QCOMPARE(KELClientInterface::getSessionBusClient(QStringLiteral("tov.base.nobody"), nullptr), nullptr);
}

void ItemServerTest::recordsOfOtherModulesTravel()
{
    const QVariantMap record{ { "deviceAddr", 18446744073709551615ULL }, { "deviceConnected", true } };
    QVERIFY(m_client->watch());
    QSignalSpy changed(m_client.get(), &KELClientInterface::changed);
    m_client->setItem(QStringLiteral("record"), record);
    QVERIFY(changed.wait());
    QCOMPARE(qdbus_cast<QVariantMap>(*m_client->get(QStringLiteral("record"))), record);
}

QTEST_GUILESS_MAIN(ItemServerTest)
#include "ItemServerTest.moc"

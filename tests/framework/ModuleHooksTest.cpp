#include "RecordingModule.h"
#include "bus/ItemServer.h"
#include "client/KELClientInterface.h"
#include "support/PrivateBus.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using ipc::ItemRecords;

namespace {

const QString BusName = "tov.base.server";

QDBusConnection client()
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, "client");
}

QDBusMessage request(const QString& method, const QVariant& argument)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(BusName, "/tov/base/Items", "tov.base.Items", method);
    message << argument;
    if (method == "Trigger") {
        message << QString();
    }
    return message;
}

/// Hears what the server tells everybody.
QDBusConnection listener()
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, "listener");
}

/// A client's request, answered by the server in this same thread.
QDBusMessage call(const QString& method, const QVariant& argument)
{
    return client().call(request(method, argument), QDBus::BlockWithGui);
}

} // namespace

/// When a server calls its modules, and what it tells of what they do.
class ModuleHooksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_bus.start(), QString());
        QCoreApplication::setApplicationName("server");
        QVERIFY(listener().connect({}, "/tov/base/Items", "tov.base.Items", "Changed", this,
                                   SLOT(hear(qulonglong, ipc::ItemRecords))));
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_one = std::make_unique<RecordingModule>("one");
        m_two = std::make_unique<RecordingModule>("two");
        m_server =
            std::make_unique<ipc::ItemServer>(QDBusConnection::sessionBus(), m_folder->filePath("state"));
        m_server->addModule(*m_one);
        m_server->addModule(*m_two);
        m_two->isPublished = false;
        m_two->patience = 1;
        m_one->whileHalting = [] {
            return call("Trigger", "one:write").errorName();
        };
        const auto started = m_server->start();
        QVERIFY2(started, qPrintable(started.error().message));
        m_told.clear();
    }

    void cleanup()
    {
        m_server->halt();
        m_server.reset();
        QDBusConnection::disconnectFromBus("client");
    }

    void theHooksOfALife()
    {
        QCOMPARE(takeCalls(), QString("added aboutToLoadConfig load slotLastConfigLoaded busNameTaken"));
        call("Get", "state");
        call("Get", "state");
        QCOMPARE(takeCalls(), QString("firstClientSeen"));
        m_one->exportPath = m_folder->filePath("export");
        m_one->setConfig("level", 1, true);
        QCoreApplication::processEvents();
        QCOMPARE(takeCalls(),
                 QString("aboutToSaveConfig saveConfigIdsComputed saveConfigIdsComputed configSaved"));
        QVERIFY(QFile::exists(m_one->exportPath));

        QElapsedTimer time;
        time.start();
        m_server->halt();
        QVERIFY2(time.elapsed() >= m_one->patience, "the longest time of all modules counts");
        QCOMPARE(takeCalls(), QString("tov.base.Error.Halting 2000 aboutToExit"));
    }

    void aTakenNameIsNoticedBeforeAnythingIsLoaded()
    {
        RecordingModule late("late");
        late.addResult("orphan", "Orphan", 0, "res.nix.value", 1);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("names nix")); // with the complete module
        ipc::ItemServer second(client(), m_folder->filePath("other"));
        second.addModule(late);
        const auto started = second.start();
        QVERIFY(!started && started.error().message.startsWith("tov.base.server is taken"));
        QCOMPARE(late.calls, QStringList("added"));
    }

    void onlyWhatIsAnnouncedIsTold()
    {
        m_one->setConfig("level", 1, false);
        m_one->config("level")->setValue(1, false);
        m_one->config("level")->setApplicable(false, false);
        m_two->setConfig("level", 1, true);
        QCOMPARE(takeTold(), QString()); // nor is there an empty signal
        m_one->setConfig("level", 1, true);
        m_one->setActionApplicable("fail", false);
        QCOMPARE(takeTold(), QString("level")); // nobody watches who applies
        QCOMPARE(call("Watch", QStringList()).arguments().value(0), QVariant(1));
        m_one->config("level")->setApplicable(true, true);
        m_one->setActionApplicable("fail", true);
        QCOMPARE(takeTold(), QString("level? fail?"));
    }

    void whatComesBackWithinATurnIsToldAndNotStored()
    {
        takeCalls();
        for (const int level : { 1, 0 }) {
            m_one->setResult("state", level * 3, true);
            m_one->setConfig("level", level, true);
        }
        QCOMPARE(takeTold(), QString("state level"));
        m_one->setResult("state", 0, true); // the value that it has
        QCOMPARE(takeTold(), QString());
        m_one->setResult("state", 3, false);
        m_one->setResult("state", 0, false);
        m_one->setResult("state", 0, true);
        QCOMPARE(takeTold(), QString());
        QCOMPARE(takeCalls(), QString());
    }

    void applicabilityIsWorkedOutForWatchers()
    {
        const auto toggled = [this] {
            m_one->setResult("state", m_isOn ? 0 : 3, true);
            m_isOn = !m_isOn;
            return takeTold();
        };
        QCOMPARE(toggled(), QString("state"));
        call("Watch", QStringList());
        QCOMPARE(toggled(), QString("state rows:0? rows:1?"));
        m_one->calls.clear();
        QCOMPARE(toggled(), QString("state rows:0? rows:1?"));
        QCOMPARE(takeCalls(), QString()); // a config that only starts to apply is not stored
        QDBusConnection::disconnectFromBus("client");
        QTRY_COMPARE(toggled(), QString("state"));
    }

    void aWatcherMissesNothing()
    {
        call("Watch", QStringList());
        m_one->setResult("state", 3, false);
        call("Watch", QStringList()); // its snapshot takes nothing from those that watch already
        QCOMPARE(takeTold(), QString("rows:0? rows:1?"));
        m_one->setResult("state", 3, true);
        QCOMPARE(takeTold(), QString("state"));

        // A request that stands before the server's next look at what changed: its answer has it, once.
        m_one->setResult("state", 0, true);
        takeTold();
        client().asyncCall(request("Trigger", "write"));
        const QDBusPendingCall watch = client().asyncCall(request("Watch", QStringList()));
        for (const QDBusConnection& connection : { client(), QDBusConnection::sessionBus() }) {
            QVERIFY(connection.interface()->serviceOwner(BusName).isValid()); // both have arrived
        }
        QTRY_VERIFY(watch.isFinished());
        QCOMPARE(watch.reply().arguments().value(0), QVariant(4));
    }

    void whatWasBeforeAnActionIsToldBeforeIt()
    {
        ItemRecords items;
        m_one->setResult("state", 0, true);
        const qulonglong before = m_server->List({ "state" }, items);
        m_one->setConfig("level", 7, true);
        m_server->Trigger("one:write", {});
        QCOMPARE(m_server->List({ "state" }, items), before + 2);
    }

    void whatAModuleKeepsToItself()
    {
        QCOMPARE(call("Get", "two:level").errorName(), QString("tov.base.Error.NoSuchItem"));
        QVERIFY(call("Trigger", "fail").errorMessage().endsWith("failed: no card"));
        for (const char* row : { "rows:0", "rows:1" }) {
            QCOMPARE(qdbus_cast<QVariantMap>(call("Describe", row).arguments().value(0))["private"],
                     QVariant(true));
        }
        ItemRecords all;
        m_server->List({ "*:level" }, all);
        QCOMPARE(all.size(), 1);
    }

    void writes()
    {
        QSignalSpy observed(m_one.get(), &ServerModule::itemChanged);
        for (const char* id : { "rows:1", "rows:1", "level" }) {
            m_one->setConfig(id, 5, true);
            takeTold();
        }
        QCOMPARE(observed.size(), 2); // of the observed one, each write, also of the value that it has
        m_one->setResult("state", 4294967299LL, true); // no 3
        ItemRecords state;
        m_server->List({ "state" }, state);
        QCOMPARE(state.first().properties["text"], QVariant(QString()));
        QCOMPARE(m_one->computeSaveConfigIds(), QStringList({ "level", "rows:0", "rows:1" }));
        QCOMPARE(m_one->dbusAddress(), BusName);
    }

    void mistakesAreToldAndChangeNothing()
    {
        static QStringList messages;
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { messages << text; });
        m_one->setConfig("level", "loud", true);
        m_one->addConfig("level", "Other Level", 7, {}, 1);
        for (int times = 0; times < 2; ++times) { // told once
            m_one->config("nix")->setValue(1, true);
            m_one->setResult("nix", 1, true);
        }
        qInstallMessageHandler(before);
        QCOMPARE(messages,
                 QStringList({ ":config:server:one:level: keeps its value: a QString does not convert to int",
                               ":config:server:one:level: exists already and is not added again",
                               "one has no config \"nix\"", "one has no result \"nix\"" }));
        QCOMPARE(m_one->config("level")->value(), QVariant(0));
    }

    void serversAreSorted()
    {
        QStringList names{ BusName, "tov.base.a", "tov.base.b", "tov.base.x", "tov.base.z" };
        for (const QString& name : names) {
            client().registerService(name);
        }
        names.sort();
        QCOMPARE(*KELClientInterface::servers(client()), names);
    }

    void hear(qulonglong serial, const ipc::ItemRecords& records)
    {
        Q_UNUSED(serial)
        m_told += records.isEmpty() ? ItemRecords{ {} } : records;
    }

private:
    QString takeCalls() { return std::exchange(m_one->calls, {}).join(' '); }
    /// Ends the turn. @return the items told with it; those with "?" tell whether they apply.
    QString takeTold()
    {
        QCoreApplication::processEvents();
        // The signal stands before this answer, which leaves the server itself alone.
        listener().call(QDBusMessage::createMethodCall(BusName, "/", "org.freedesktop.DBus.Peer", "Ping"));
        QCoreApplication::processEvents();
        QStringList names;
        for (const ipc::ItemRecord& record : std::exchange(m_told, {})) {
            names << record.address.section(':', 4).chopped(1)
                    + (record.properties.contains("applicable") ? "?" : "");
        }
        return names.join(' ');
    }

    PrivateSessionBus m_bus;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<RecordingModule> m_one;
    std::unique_ptr<RecordingModule> m_two;
    std::unique_ptr<ipc::ItemServer> m_server;
    ItemRecords m_told; ///< by all signals since the last look
    bool m_isOn = false;
};

QTEST_GUILESS_MAIN(ModuleHooksTest)
#include "ModuleHooksTest.moc"

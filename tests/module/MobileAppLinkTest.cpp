// What reaches the mobile synchronisation module, which this process plays: a real server of the framework.
#include "DaemonTypes.h"
#include "KelAggregate.h"
#include "ModuleWorld.h"
#include "RegistrationModule.h"
#include "bus/ItemServer.h"
#include "support/Rows.h"

#include <QTemporaryDir>

namespace {

const QString Status = ":result:sync_mobile_app:sync_mobile_reg_module:deviceConnStatus:";

QString recordText(const QVariantMap& record)
{
    QStringList fields;
    for (auto field = record.begin(); field != record.end(); ++field) {
        fields += field.key() + ' ' + field.value().toString();
    }
    return fields.join(", ");
}

class SyncModule : public RegistrationModule
{
public:
    SyncModule()
        : RegistrationModule("sync_mobile_reg_module", nullptr)
    {
        status = addResult("deviceConnStatus", "Device Connection", QVariant(), EMPTYQS, 1).first();
        openResultToClients("deviceConnStatus");
    }

    ServerItem* status;
};

/// The mobile synchronisation module on the session bus, for as long as the object lives.
class SyncServer
{
public:
    explicit SyncServer(const QString& stateFolder)
        : m_server(QDBusConnection::sessionBus(), stateFolder)
    {
        m_server.addModule(m_module);
        started = m_server.start();
    }
    ~SyncServer() { m_server.halt(); }

    [[nodiscard]] QVariantMap record() const { return qdbus_cast<QVariantMap>(m_module.status->value()); }
    [[nodiscard]] QString shown() const { return recordText(record()); }

    ipc::Outcome<ipc::Done> started = ipc::Error();

private:
    SyncModule m_module;
    ipc::ItemServer m_server;
};

} // namespace

class MobileAppLinkTest : public ModuleTest
{
    Q_OBJECT

public:
    using ModuleTest::ModuleTest;

private Q_SLOTS:
    void initTestCase()
    {
        // Its server is named after the application.
        QCoreApplication::setApplicationName("sync_mobile_app");
        registerDaemonTypes();
        QVERIFY(m_world.daemonAppears());
    }

    void eventsAreReported_data()
    {
        const Rows<QString, QVariant, QVariantMap, QString> row("signal", "payload", "record", "log");
        const auto record = [](qulonglong address, bool connected) {
            return QVariantMap{ { "deviceAddr", address }, { "deviceConnected", connected } };
        };
        const QString slot = "BluetoothModule::onMTConnectionEstablished\n";
        row("connected", "mtConnectionEstablished", 0xA1B2C3D4E5F6ULL, record(0xA1B2C3D4E5F6, true),
            slot + "Connected addr: 177789161760246\n");
        row("disconnected", "deviceDisconnected", 0xA1B2C3D4E5F6ULL, record(0xA1B2C3D4E5F6, false),
            "Disconnected addr: 177789161760246\n");
    }

    void eventsAreReported()
    {
        QFETCH(const QString, signal);
        QFETCH(const QVariant, payload);
        const QTemporaryDir state;
        SyncServer server(state.path());
        QVERIFY2(server.started, qPrintable(server.started.error().message));
        const auto logSize = m_world.world().output().size();
        m_daemon.send(signal, payload);
        QVERIFY(m_world.settle());
        QFETCH(const QVariantMap, record);
        QCOMPARE(server.shown(), recordText(record));
        for (const QVariant& value : server.record()) {
            QVERIFY(value.userType() == QMetaType::ULongLong || value.userType() == QMetaType::Bool);
        }
        QTEST(m_world.world().output().mid(logSize), "log");
    }

    void propertiesHaveExactTypes()
    {
        const auto descriptor = std::make_shared<KelAggregateDescriptor>();
        (*descriptor)["address"] = static_cast<KELItemStatusFlags>(0x20000);
        (*descriptor)["connected"] = static_cast<KELItemStatusFlags>(0x1000);
        (*descriptor)["connected and more"] = static_cast<KELItemStatusFlags>(0x1001);
        KelAggregate aggregate(descriptor);
        QCOMPARE(aggregate.toVariant(), QVariant(QVariantMap()));

        const auto refused = [](const char* name) {
            QTest::ignoreMessage(QtWarningMsg,
                                 qPrintable(QString("Property not found, or value not correct type, property "
                                                    "name: \"%1\"")
                                                .arg(name)));
        };
        refused("connected");
        aggregate.setPropertyValue("connected", 1ULL);
        refused("address");
        aggregate.setPropertyValue("address", true);
        refused("connected and more");
        aggregate.setPropertyValue("connected and more", true);
        refused("Address");
        aggregate.setPropertyValue("Address", 1ULL);
        QCOMPARE(aggregate.toVariant(), QVariant(QVariantMap()));

        aggregate.setPropertyValue("address", ~0ULL);
        QCOMPARE(aggregate.toVariant(), QVariant(QVariantMap{ { "address", ~0ULL } }));
        refused("address");
        aggregate.setPropertyValue("address", false);
        aggregate.setPropertyValue("connected", true);
        QCOMPARE(aggregate.toVariant(), QVariant(QVariantMap{ { "address", ~0ULL }, { "connected", true } }));
    }
};

MODULE_TEST_MAIN(MobileAppLinkTest)
#include "MobileAppLinkTest.moc"

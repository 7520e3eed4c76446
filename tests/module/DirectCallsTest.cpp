// What neither a client nor a daemon can bring about over the bus, because the bus forbids it or never does
// it: members of the exported class, called in this process.
#include "BluetoothModule.h"
#include "ScriptedDaemon.h"
#include "bus/ItemServer.h"
#include "support/PrivateBus.h"
#include "support/PrivateView.h"
#include "support/Rows.h"

#include <QDBusAbstractInterface>
#include <QTest>

#include <memory>

namespace {

const QString DaemonName = "com.qarn.bluetooth";

using TextMember = std::string (BluetoothModule::*)(std::string);
using namespace std::string_literals;

} // namespace

Q_DECLARE_METATYPE(TextMember)

class DirectCallsTest : public QObject
{
    Q_OBJECT

public:
    explicit DirectCallsTest(const QString& busAddress)
        : m_daemon(busAddress)
    {
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Qt's bus delivers nothing before it has seen an event loop.
        QVERIFY(QDBusConnection::systemBus().isConnected());
        QCoreApplication::processEvents();
    }

    void init()
    {
        m_leftBehind = 0;
        m_module = std::make_unique<BluetoothModule>(nullptr);
        m_items = std::make_unique<ipc::ItemServer>(QDBusConnection(QString()), QString());
        m_items->addModule(*m_module);
        QVERIFY(m_daemon.appear());
        QVERIFY(settle());
        QCOMPARE(proxies(), 1);
        m_daemon.takeCalls();
    }

    void cleanup()
    {
        m_daemon.leave();
        const bool settled = settle();
        const int left = proxies();
        m_items.reset();
        m_module.reset();
        QVERIFY(settled);
        if (!QTest::currentTestFailed())
            QCOMPARE(left, m_leftBehind);
    }

    void textsEndAtTheirFirstNul_data()
    {
        const Rows<TextMember, QString> row("member", "method");
        row("registerrfcommuuid", &BluetoothModule::registerRFCOMMUUID, "registerRFCOMMUUID");
        row("unregisterrfcommuuid", &BluetoothModule::unregisterRFCOMMUUID, "unregisterRFCOMMUUID");
        row("sendwifedcmdctlfd", &BluetoothModule::sendWifedCmdCtlFD, "sendWifedCmdCtlFD");
        row("pinreply", &BluetoothModule::PINreply, "PINreply");
    }

    void textsEndAtTheirFirstNul()
    {
        QFETCH(const TextMember, member);
        QFETCH(const QString, method);
        QCOMPARE((*m_module.*member)("12\0 34"s), std::string());
        // Not an empty text, although nothing of it is left.
        QCOMPARE((*m_module.*member)("\0 34"s), std::string());
        QVERIFY(settle());
        QCOMPARE(callText(m_daemon.calls()), QString(R"(%1(s "12"), %1(s ""))").arg(method));
        QCOMPARE(text("pinreplycfg"), "5190");
    }

    void addressesDoNot_data()
    {
        const Rows<TextMember> row("member");
        row("Pair", &BluetoothModule::Pair);
        row("ConnectAddr", &BluetoothModule::ConnectAddr);
        row("DisconnectAddr", &BluetoothModule::DisconnectAddr);
        row("UnPair", &BluetoothModule::UnPair);
    }

    void addressesDoNot()
    {
        QFETCH(const TextMember, member);
        // The NUL makes its field one that is no number.
        QCOMPARE((*m_module.*member)("12:34:56:78:9A:BC\0"s), std::string());
        QVERIFY(settle());
        QCOMPARE(callText(m_daemon.calls()),
                 QString("%1(t %2)").arg(QTest::currentDataTag()).arg(0x123456789A00ULL));
    }

    void doubleRegistration()
    {
        QCOMPARE(proxies(), 1);
        QObject* const first = m_module->findChild<QDBusAbstractInterface*>();
        m_module->onServiceRegistered(DaemonName);
        QCOMPARE(proxies(), 2);
        QCOMPARE(m_module->findChild<QDBusAbstractInterface*>(), first);
        // The second one gets the requests: one call for one request.
        m_module->Scan();
        QVERIFY(settle());
        QCOMPARE(callText(m_daemon.calls()), "Scan()");

        // A departure takes the second one away; nobody uses the first any more, but it is still there.
        m_module->onServiceUnregistered(DaemonName);
        QCOMPARE(proxies(), 1);
        QCOMPARE(m_module->findChild<QDBusAbstractInterface*>(), first);
        m_daemon.takeReads();
        m_module->statUpdate();
        QCOMPARE(m_daemon.reads(), QStringList());
        m_leftBehind = 1;
    }

    void refreshEndsWhatWasPending()
    {
        m_module->onPendingPairChanged(QDBusVariant("somebody"));
        QCOMPARE(text("pendingpair"), "somebody");
        m_module->statUpdate();
        QCOMPARE(text("pendingpair"), "");
    }

    void withoutAProxyNothingIsRefreshed()
    {
        m_module->Disable();
        QCOMPARE(proxies(), 0);
        m_module->onPendingPairChanged(QDBusVariant("somebody"));
        m_module->statUpdate();
        QCOMPARE(text("pendingpair"), "somebody");
        m_module->onWifedCmdCtlSockClosed(QDBusVariant(5));
        QCOMPARE(text("connectedwifeds"), "");
    }

private:
    /// As in a ModuleWorld, where host and test are one process.
    [[nodiscard]] bool settle() const
    {
        const QString here = QDBusConnection::systemBus().baseService();
        const bool arrived = m_daemon.roundTrip(here);
        QCoreApplication::processEvents();
        return arrived && m_daemon.roundTrip(here);
    }
    [[nodiscard]] int proxies() const { return m_module->findChildren<QDBusAbstractInterface*>().size(); }
    /// As clients would read it.
    [[nodiscard]] QString text(const QString& item) { return m_items->Get(item).variant().toString(); }

    ScriptedDaemon m_daemon;
    std::unique_ptr<BluetoothModule> m_module;
    std::unique_ptr<ipc::ItemServer> m_items;
    int m_leftBehind = 0; ///< proxies that the daemon's departure does not take away
};

// A module leaves its bus watcher behind, by intent. The name is the sanitizer's.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" Q_DECL_EXPORT const char* __lsan_default_suppressions()
{
    return "leak:BluetoothModule::BluetoothModule";
}

int main(int argc, char** argv)
{
    // The module looks for its files in /tmp.
    return runInPrivateView(RECORDING_CONTROLLER, argc, argv, [&](const world::PrivateFilesystem& /*view*/) {
        // Part of the addresses by which the module finds its own items.
        QCoreApplication::setApplicationName("bluetoothlauncher");
        PrivateSystemBus bus;
        const QString problem = bus.start();
        if (!problem.isEmpty())
            qFatal("%s", qPrintable(problem));
        DirectCallsTest test(bus.address());
        return QTest::qExec(&test, argc, argv);
    });
}

#include "DirectCallsTest.moc"

#include "BluetoothIf.h"
#include "ConnectionBits.h"
#include "FakeBluez.h"
#include "RadioTypes.h"
#include "support/PrivateSystemBus.h"
#include "world/ChildProcess.h"

#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QtTest>

#include <csignal>

namespace {

const QString Hci0 = QStringLiteral("/org/bluez/hci0");
const QString Phone = QStringLiteral("00:11:22:33:44:01");
constexpr qulonglong PhoneNumber = 0x001122334401;
const QString Device = QStringLiteral("Device1");
const QString Adapter = QStringLiteral("Adapter1");

QVariant path(const QString& text)
{
    return QVariant::fromValue(QDBusObjectPath(text));
}

template <typename Type>
Type last(const QSignalSpy& spy)
{
    const QVariant value = spy.last().first().value<QDBusVariant>().variant();
    return value.userType() == qMetaTypeId<QDBusArgument>() ? qdbus_cast<Type>(value.value<QDBusArgument>())
                                                            : value.value<Type>();
}

QList<int> numbers(const QSignalSpy& spy)
{
    QList<int> values;
    for (const QList<QVariant>& signal : spy) {
        values << signal.first().value<QDBusVariant>().variant().toInt();
    }
    return values;
}

} // namespace

/// The real radio's program before a bluetoothd that does as it is told.
class BluezRadioTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void comesUpWithBluetoothd();
    void asksAgain();
    void isBlocked();
    void isSwitchedOffByAnother();
    void gathersACrowd();
    void awaitsTheAnswer();
    void losesItsAdapter();
    void endsInOrder_data();
    void endsInOrder();
    void mapsPairingErrors_data();
    void mapsPairingErrors();
    void asksWhatBluezAsks_data();
    void asksWhatBluezAsks();
    void refusesOtherAdapters();
    void connects();
    void tellsOfTheCompanion();
    void knowsConnections_data();
    void knowsConnections();

private:
    [[nodiscard]] bool start();
    [[nodiscard]] bool startOn();
    [[nodiscard]] QString log();
    BluetoothIf& proxy() { return *m_proxy; }

    PrivateSystemBus m_clients;
    QTemporaryDir m_folder;
    world::MessageBus m_bluezBus;
    std::unique_ptr<FakeBluez> m_bluez;
    std::unique_ptr<world::ChildProcess> m_radio;
    std::unique_ptr<BluetoothIf> m_proxy;
    std::unique_ptr<QTemporaryFile> m_log;
};

void BluezRadioTest::initTestCase()
{
    registerDaemonTypes();
    QCOMPARE(m_clients.start(), QString());
    QCOMPARE(m_bluezBus.start(world::MessageBus::Kind::System, m_folder.path()), QString());
    qputenv("BLUEZ_SYSTEM_BUS_ADDRESS", m_bluezBus.address().toLocal8Bit());
}

void BluezRadioTest::init()
{
    m_bluez = std::make_unique<FakeBluez>(m_bluezBus.address());
    m_log = std::make_unique<QTemporaryFile>();
    QVERIFY(m_log->open());
}

void BluezRadioTest::cleanup()
{
    m_proxy.reset();
    m_radio->signal(SIGKILL);
    m_radio->wait();
    m_bluez.reset();
}

bool BluezRadioTest::start()
{
    QDBusServiceWatcher watcher(QStringLiteral("com.qarn.bluetooth"), QDBusConnection::systemBus(),
                                QDBusServiceWatcher::WatchForRegistration);
    QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
    world::Command command;
    command.arguments = QStringList{ QStringLiteral(BLUEZRADIO), QStringLiteral("TORLO-test\n"),
                                     QStringLiteral("1"), QStringLiteral("1") };
    command.output = m_log->handle();
    m_radio = std::make_unique<world::ChildProcess>();
    if (m_radio->start(command) != 0 || (registered.isEmpty() && !registered.wait())) {
        return false;
    }
    m_proxy = std::make_unique<BluetoothIf>(QStringLiteral("com.qarn.bluetooth"),
                                            QStringLiteral("/com/qarn/Bluetooth"),
                                            QDBusConnection::systemBus(), nullptr);
    return true;
}

bool BluezRadioTest::startOn()
{
    m_bluez->appear();
    m_bluez->addAdapter(Hci0);
    return start() && QTest::qWaitFor([this] { return m_proxy->status() == 3; });
}

QString BluezRadioTest::log()
{
    QFile file(m_log->fileName());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void BluezRadioTest::comesUpWithBluetoothd()
{
    QVERIFY(start());
    QTRY_VERIFY(log().contains(QLatin1String("bluetoothd is not there")));
    QCOMPARE(proxy().status(), 0);
    QDBusPendingReply<> refused = proxy().Scan();
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QStringLiteral("com.qarn.bluetooth.Error.NotReady"));

    QSignalSpy status(m_proxy.get(), &BluetoothIf::statusChanged);
    m_bluez->appear();
    QTRY_VERIFY(log().contains(QLatin1String("no Bluetooth adapter")));
    m_bluez->addAdapter(Hci0);
    QTRY_COMPARE(numbers(status), (QList<int>{ 2, 3 }));
    QCOMPARE(proxy().myAddress(), 0x00AA01000042ULL);
    QCOMPARE(m_bluez->property(Hci0, QStringLiteral("Alias")).toString(), QStringLiteral("TORLO-test"));
    QCOMPARE(m_bluez->property(Hci0, QStringLiteral("Powered")), QVariant(true));
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("AgentManager1.RegisterAgent"),
                                  QStringLiteral("AgentManager1.RequestDefaultAgent") }));

    // Once more: agents do not outlive the daemon.
    m_bluez->vanish();
    QTRY_COMPARE(numbers(status), (QList<int>{ 2, 3, 0 }));
    m_bluez->forgetCalls();
    m_bluez->appear();
    m_bluez->addAdapter(Hci0);
    QTRY_COMPARE(numbers(status), (QList<int>{ 2, 3, 0, 2, 3 }));
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("AgentManager1.RegisterAgent") }));
    QCOMPARE(log().count(QLatin1String("bluetoothd is not there")), 2);
}

// bluetoothd may be too busy to answer when it starts, or may not want to.
void BluezRadioTest::asksAgain()
{
    const QString objects = QStringLiteral("ObjectManager.GetManagedObjects");
    m_bluez->answer(objects, QStringLiteral("Failed"));
    m_bluez->appear();
    m_bluez->addAdapter(Hci0);
    QVERIFY(start());
    QTRY_VERIFY(log().contains(QLatin1String("bluetoothd does not tell of its adapters: as the test told")));
    m_bluez->answerAfterAll(objects);
    QTRY_COMPARE(proxy().status(), 3);
    QVERIFY2(!log().contains(QLatin1String("is not there")), qPrintable(log()));
}

void BluezRadioTest::isBlocked()
{
    m_bluez->answer(QStringLiteral("Set Powered"), QStringLiteral("Blocked"));
    m_bluez->appear();
    m_bluez->addAdapter(Hci0);
    QVERIFY(start());
    QTRY_VERIFY(log().contains(QLatin1String("rfkill unblock bluetooth")));
    QCOMPARE(proxy().status(), 0);
    m_bluez->change(Hci0, Adapter, { { QStringLiteral("Powered"), true } });
    QTRY_COMPARE(proxy().status(), 3);
}

void BluezRadioTest::isSwitchedOffByAnother()
{
    QVERIFY(startOn());
    proxy().Scan();
    QTRY_COMPARE(proxy().scanState(), 1);
    m_bluez->change(Hci0, Adapter, { { QStringLiteral("Powered"), false } });
    QTRY_COMPARE(proxy().state(), false);
    QCOMPARE(proxy().scanState(), 2);
    proxy().setState(true);
    QTRY_COMPARE(proxy().status(), 3);

    // The last wish counts, though bluetoothd is at the one before.
    QSignalSpy status(m_proxy.get(), &BluetoothIf::statusChanged);
    m_bluez->answer(QStringLiteral("Set Powered"), {});
    proxy().setState(false);
    proxy().setState(true);
    QTRY_COMPARE(proxy().status(), 2);
    m_bluez->answerAfterAll(QStringLiteral("Set Powered"));
    QTRY_COMPARE(numbers(status), (QList<int>{ 4, 2, 3 }));
    QCOMPARE(m_bluez->property(Hci0, QStringLiteral("Powered")), QVariant(true));
}

void BluezRadioTest::gathersACrowd()
{
    constexpr int Crowd = 200;
    constexpr int Listed = 128;
    constexpr int Rounds = 20;
    QVERIFY(startOn());
    QSignalSpy results(m_proxy.get(), &BluetoothIf::scanResultsChanged);
    proxy().Scan();
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("Adapter1.StartDiscovery") }));
    QElapsedTimer time;
    time.start();
    QStringList devices;
    for (int number = 0; number < Crowd; ++number) {
        const QString address = QStringLiteral("00:22:00:00:00:%1").arg(number, 2, 16, QLatin1Char('0'));
        devices << m_bluez->addDevice(Hci0, address.toUpper(),
                                      { { QStringLiteral("RSSI"), QVariant::fromValue<short>(-90) } });
    }
    for (int round = 0; round < Rounds; ++round) {
        for (const QString& device : qAsConst(devices)) {
            m_bluez->change(
                device, Device,
                { { QStringLiteral("RSSI"), QVariant::fromValue(static_cast<short>(-80 + round)) } });
        }
    }
    const auto settled = [&] {
        return !results.isEmpty() && last<ScanResults>(results).entries.size() == Listed
            && last<ScanResults>(results).entries.last().signalStrength == -80 + Rounds - 1;
    };
    QTRY_VERIFY(settled());
    const qint64 most = time.elapsed() / 320 + 1;
    QVERIFY2(results.size() <= most, qPrintable(QString::number(results.size())));
    const QList<ScanEntry> entries = last<ScanResults>(results).entries;
    for (int row = 0; row < Listed; ++row) {
        QCOMPARE(entries.at(row).address, 0x002200000000ULL + static_cast<qulonglong>(row));
    }
    proxy().CancelScan();
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("Adapter1.StopDiscovery") }));
    QCOMPARE(proxy().scanState(), 2);
}

// bluetoothd refuses what comes before it has answered, and would look around for ever.
void BluezRadioTest::awaitsTheAnswer()
{
    const QString start = QStringLiteral("Adapter1.StartDiscovery");
    const QString stop = QStringLiteral("Adapter1.StopDiscovery");
    QVERIFY(startOn());
    m_bluez->answer(start, {});
    proxy().Scan();
    QTRY_VERIFY(m_bluez->called({ start }));
    proxy().CancelScan();
    QTRY_COMPARE(proxy().scanState(), 2);
    QVERIFY(!m_bluez->called({ stop }));
    m_bluez->answer(stop, {});
    m_bluez->answerAfterAll(start);
    QTRY_VERIFY(m_bluez->called({ start, stop }));
    proxy().Scan();
    QTRY_COMPARE(proxy().scanState(), 1);
    QVERIFY(!m_bluez->called({ stop, start }));
    m_bluez->answerAfterAll(stop);
    QTRY_VERIFY(m_bluez->called({ stop, start }));
}

void BluezRadioTest::losesItsAdapter()
{
    QVERIFY(startOn());
    m_bluez->addDevice(Hci0, Phone,
                       { { QStringLiteral("Paired"), true }, { QStringLiteral("Connected"), true } });
    QTRY_COMPARE(proxy().pairList().entries.size(), 1);
    proxy().Scan();
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("Adapter1.StartDiscovery") }));
    m_bluez->addDevice(Hci0, QStringLiteral("00:22:00:00:00:01"));
    QTRY_COMPARE(proxy().scanResults().entries.size(), 1);
    QSignalSpy gone(m_proxy.get(), &BluetoothIf::deviceDisconnected);
    m_bluez->remove(Hci0 + QStringLiteral("/dev_00_11_22_33_44_01"));
    m_bluez->remove(Hci0 + QStringLiteral("/dev_00_22_00_00_00_01"));
    m_bluez->remove(Hci0);
    QTRY_COMPARE(proxy().status(), 0);
    QCOMPARE(proxy().scanState(), 2);
    QVERIFY(proxy().scanResults().entries.isEmpty());
    QVERIFY(proxy().pairList().entries.isEmpty());
    QTRY_COMPARE(gone.size(), 1);
    QCOMPARE(last<qulonglong>(gone), PhoneNumber);
    m_bluez->addAdapter(QStringLiteral("/org/bluez/hci1"));
    QTRY_COMPARE(proxy().status(), 3);
}

void BluezRadioTest::endsInOrder_data()
{
    QTest::addColumn<bool>("hangs");
    QTest::newRow("in order") << false;
    QTest::newRow("bluetoothd hangs") << true;
}

void BluezRadioTest::endsInOrder()
{
    QFETCH(bool, hangs);
    QVERIFY(startOn());
    proxy().registerRFCOMMUUID(QStringLiteral("1101"));
    proxy().Scan();
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("Adapter1.StartDiscovery") }));
    m_bluez->forgetCalls();
    if (hangs) {
        m_bluez->answer(QStringLiteral("Set Powered"), {});
    }
    QElapsedTimer time;
    time.start();
    m_radio->signal(SIGTERM);
    std::optional<int> status;
    QTRY_VERIFY((status = m_radio->wait(std::chrono::milliseconds(0))).has_value());
    QCOMPARE(*status, 0);
    QVERIFY(time.elapsed() < 1000);
    QVERIFY2(m_bluez->called(
                 { QStringLiteral("Adapter1.StopDiscovery"), QStringLiteral("AgentManager1.UnregisterAgent"),
                   QStringLiteral("ProfileManager1.UnregisterProfile"), QStringLiteral("Set Alias="),
                   QStringLiteral("Set Pairable=false"), QStringLiteral("Set Discoverable=false"),
                   QStringLiteral("Set DiscoverableTimeout=180"), QStringLiteral("Set Powered=false") }),
             qPrintable(m_bluez->calls().join(QLatin1Char('\n'))));
}

void BluezRadioTest::mapsPairingErrors_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<bool>("paired");
    QTest::addColumn<QList<int>>("states");
    QTest::newRow("page timeout") << "ConnectionAttemptFailed" << false << QList<int>{ 1, 202 };
    QTest::newRow("link lost") << "AuthenticationCanceled" << false << QList<int>{ 1, 202 };
    QTest::newRow("lost when paired") << "AuthenticationCanceled" << true << QList<int>{ 1, 6, 100 };
    QTest::newRow("wrong PIN") << "AuthenticationFailed" << false << QList<int>{ 1, 201 };
    QTest::newRow("refused over there") << "AuthenticationRejected" << false << QList<int>{ 1, 201 };
    QTest::newRow("nobody answered") << "AuthenticationTimeout" << false << QList<int>{ 1, 201 };
    QTest::newRow("paired meanwhile") << "AlreadyExists" << false << QList<int>{ 1, 100 };
    QTest::newRow("anything else") << "Failed" << false << QList<int>{ 1, 200 };
}

void BluezRadioTest::mapsPairingErrors()
{
    QFETCH(QString, error);
    QFETCH(bool, paired);
    QFETCH(QList<int>, states);
    const QString pair = QStringLiteral("Device1.Pair");
    QVERIFY(startOn());
    const QString device = m_bluez->addDevice(Hci0, Phone);
    m_bluez->answer(pair, {});
    QSignalSpy stateSpy(m_proxy.get(), &BluetoothIf::pairStateChanged);
    proxy().Pair(PhoneNumber);
    QTRY_VERIFY(m_bluez->called({ pair }));
    if (paired) {
        m_bluez->change(device, Device, { { QStringLiteral("Paired"), true } });
    }
    m_bluez->answerAfterAll(pair, error);
    QTRY_COMPARE(numbers(stateSpy), states);
    const bool told = log().contains(QStringLiteral("org.bluez.Error.") + error);
    QCOMPARE(told, states.last() != 100);
}

void BluezRadioTest::asksWhatBluezAsks_data()
{
    QTest::addColumn<QString>("question");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QList<int>>("states");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QVariantList>("reply");

    const QVariantList none;
    const auto row = [](const char* name) -> QTestData& {
        return QTest::newRow(name);
    };
    row("PIN") << "RequestPinCode" << none << "5190" << QList<int>{ 2, 3, 6 } << ""
               << QVariantList{ QStringLiteral("5190") };
    row("passkey") << "RequestPasskey" << none << "004711" << QList<int>{ 2, 3, 6 } << ""
                   << QVariantList{ 4711U };
    row("code") << "RequestConfirmation" << QVariantList{ 4711U } << "confirm" << QList<int>{ 2, 4, 6 }
                << "004711" << none;
    row("code 000000") << "RequestConfirmation" << QVariantList{ 0U } << "confirm" << QList<int>{ 2, 4, 6 }
                       << "000000" << none;
    row("code, refused") << "RequestConfirmation" << QVariantList{ 1U } << "reject" << QList<int>{ 2, 4, 200 }
                         << "000001" << QVariantList{ "org.bluez.Error.Rejected" };
    row("no code") << "RequestAuthorization" << none << "confirm" << QList<int>{ 2, 5, 6 } << "" << none;
    row("PIN to be typed there") << "DisplayPinCode" << QVariantList{ "1234" } << "confirm"
                                 << QList<int>{ 2, 4, 6 } << "1234" << none;
    row("passkey to be typed there, refused")
        << "DisplayPasskey" << QVariantList{ 4711U, QVariant::fromValue<ushort>(0) } << "reject"
        << QList<int>{ 2, 4, 200 } << "004711" << none;
    row("taken back") << "RequestAuthorization" << none << "cancel" << QList<int>{ 2, 5, 201 } << ""
                      << QVariantList{ "none" };
}

void BluezRadioTest::asksWhatBluezAsks()
{
    QFETCH(QString, question);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, answer);
    QFETCH(QList<int>, states);
    QFETCH(QString, code);
    QFETCH(QVariantList, reply);

    QVERIFY(startOn());
    const QString device =
        m_bluez->addDevice(Hci0, Phone, { { QStringLiteral("Name"), QStringLiteral("Phone") } });
    QSignalSpy stateSpy(m_proxy.get(), &BluetoothIf::pairStateChanged);
    arguments.prepend(path(device));
    const QDBusPendingCall call = m_bluez->callBack(QStringLiteral("Agent1"), question, arguments);
    QTRY_COMPARE(stateSpy.size(), 2);
    QCOMPARE(proxy().confirmationCode(), code);
    if (answer == QLatin1String("confirm")) {
        proxy().ConfirmCode();
    } else if (answer == QLatin1String("reject")) {
        proxy().RejectCode();
    } else if (answer == QLatin1String("cancel")) {
        m_bluez->callBack(QStringLiteral("Agent1"), QStringLiteral("Cancel"), {});
    } else {
        proxy().PINreply(answer);
    }
    QTRY_COMPARE(numbers(stateSpy), states);
    const bool shown = question.startsWith(QLatin1String("Display"));
    QCOMPARE(proxy().confirmationCode(), shown && states.last() == 6 ? code : QString());
    QTRY_VERIFY(!shown || states.last() == 6 || m_bluez->called({ QStringLiteral("Device1.Disconnect") }));
    if (reply != QVariantList{ "none" }) {
        QTRY_VERIFY(call.isFinished());
        const QVariantList got =
            call.isError() ? QVariantList{ call.error().name() } : call.reply().arguments();
        QCOMPARE(got, reply);
    }
    if (states.last() == 6) {
        m_bluez->change(device, Device, { { QStringLiteral("Paired"), true } });
        QTRY_COMPARE(proxy().pairState(), 100);
        QCOMPARE(proxy().pairList(), (PairList{ { { PhoneNumber, QStringLiteral("Phone"), 0 } } }));
        QTRY_COMPARE(m_bluez->property(device, QStringLiteral("Trusted")), QVariant(true));
    }
}

void BluezRadioTest::refusesOtherAdapters()
{
    QVERIFY(startOn());
    const QString hci1 = QStringLiteral("/org/bluez/hci1");
    m_bluez->addAdapter(hci1);
    const QString device = m_bluez->addDevice(hci1, Phone);
    const QDBusPendingCall call = m_bluez->callBack(
        QStringLiteral("Agent1"), QStringLiteral("RequestConfirmation"), { path(device), 1U });
    QTRY_VERIFY(call.isFinished());
    QCOMPARE(call.error().name(), QStringLiteral("org.bluez.Error.Rejected"));
    QCOMPARE(proxy().pairState(), 0);
}

void BluezRadioTest::connects()
{
    QVERIFY(startOn());
    const QString iap = bt::IapUuid;
    const QString device = m_bluez->addDevice(
        Hci0, Phone, { { QStringLiteral("Paired"), true }, { QStringLiteral("UUIDs"), QStringList{ iap } } });
    QTRY_COMPARE(proxy().pairList().entries.size(), 1);
    QSignalSpy connected(m_proxy.get(), &BluetoothIf::connectionEstablished);
    QSignalSpy headset(m_proxy.get(), &BluetoothIf::headsetConnected);
    proxy().ConnectAddr(PhoneNumber);
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("Device1.Connect") }));
    m_bluez->change(device, Device, { { QStringLiteral("Connected"), true } });
    QVERIFY(connected.wait());
    QCOMPARE(proxy().pairList().entries.first().connectionState, 2U);
    proxy().killIAP();
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("Device1.DisconnectProfile") }));
    // What it offers may come to light late.
    m_bluez->change(device, Device,
                    { { QStringLiteral("UUIDs"),
                        QStringList{ iap, QStringLiteral("0000111e-0000-1000-8000-00805f9b34fb") } } });
    QVERIFY(headset.wait());
    QCOMPARE(connected.size(), 1);

    m_bluez->answer(QStringLiteral("Device1.Disconnect"), QStringLiteral("Failed"));
    proxy().DisconnectAddr(PhoneNumber);
    QTRY_VERIFY(log().contains(QLatin1String("Disconnect 00:11:22:33:44:01 failed: as the test told")));
}

void BluezRadioTest::tellsOfTheCompanion()
{
    QVERIFY(startOn());
    const QString device = m_bluez->addDevice(Hci0, Phone, { { QStringLiteral("Paired"), true } });
    QDBusPendingReply<> refused = proxy().registerRFCOMMUUID(QStringLiteral("no UUID"));
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QStringLiteral("com.qarn.bluetooth.Error.InvalidArgument"));
    proxy().registerRFCOMMUUID(QStringLiteral("1101"));
    QTRY_VERIFY(m_bluez->called({ QStringLiteral("ProfileManager1.RegisterProfile") }));
    QSignalSpy companion(m_proxy.get(), &BluetoothIf::mtConnectionEstablished);
    const QDBusUnixFileDescriptor channel(m_log->handle());
    const QDBusPendingCall call =
        m_bluez->callBack(QStringLiteral("Profile1"), QStringLiteral("NewConnection"),
                          { path(device), QVariant::fromValue(channel), QVariantMap() });
    QVERIFY(companion.wait());
    QCOMPARE(last<qulonglong>(companion), PhoneNumber);
    QTRY_VERIFY(call.isFinished());
    QVERIFY2(!call.isError(), qPrintable(call.error().message()));
}

void BluezRadioTest::knowsConnections_data()
{
    QTest::addColumn<QStringList>("uuids");
    QTest::addColumn<int>("type");
    QTest::addColumn<uint>("bits");
    const auto uuid = [](const char* brief) {
        return bt::fullUuid(QString::fromLatin1(brief)).toUpper();
    };
    using Type = BluezQt::Device::Type;
    QTest::newRow("nothing known") << QStringList() << int(Type::Uncategorized) << 1U;
    QTest::newRow("hands-free") << QStringList{ uuid("111E") } << int(Type::Headset) << 4U;
    QTest::newRow("speaker") << QStringList{ uuid("110b") } << int(Type::AudioVideo) << 4U;
    QTest::newRow("phone") << QStringList{ uuid("111f"), uuid("110a") } << int(Type::Phone) << 1U;
    QTest::newRow("computer") << QStringList{ uuid("110b"), uuid("0x1106") } << int(Type::Computer) << 8U;
    QTest::newRow("iOS") << QStringList{ bt::IapUuid } << int(Type::Phone) << 2U;
    QTest::newRow("several") << QStringList{ uuid("1108"), uuid("00001106") } << int(Type::Headset) << 12U;
}

void BluezRadioTest::knowsConnections()
{
    QFETCH(QStringList, uuids);
    QFETCH(int, type);
    QFETCH(uint, bits);
    m_radio = std::make_unique<world::ChildProcess>();
    QCOMPARE(bt::connectionBits(true, uuids, static_cast<BluezQt::Device::Type>(type)), bits);
    QCOMPARE(bt::connectionBits(false, uuids, static_cast<BluezQt::Device::Type>(type)), 0U);
}

QTEST_GUILESS_MAIN(BluezRadioTest)
#include "BluezRadioTest.moc"

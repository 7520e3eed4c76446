#include "BluezFixture.h"
#include "ConnectionBits.h"

#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>

/// Devices are paired with, connected and asked about.
class BluezPairingTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void mapsPairingErrors_data();
    void mapsPairingErrors();
    void asksWhatBluezAsks_data();
    void asksWhatBluezAsks();
    void refusesOtherAdapters();
    void connects();
    void tellsOfTheCompanion();
    void knowsConnections_data();
    void knowsConnections();
};

void BluezPairingTest::mapsPairingErrors_data()
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

void BluezPairingTest::mapsPairingErrors()
{
    QFETCH(QString, error);
    QFETCH(bool, paired);
    QFETCH(QList<int>, states);
    const QString pair = "Device1.Pair";
    QVERIFY(startOn());
    const QString device = m_bluez->addDevice(hci0(), phone());
    m_bluez->answer(pair, {});
    QSignalSpy stateSpy(&proxy(), &BluetoothIf::pairStateChanged);
    proxy().Pair(PhoneNumber);
    QTRY_VERIFY(m_bluez->called({ pair }));
    if (paired) {
        m_bluez->change(device, "Device1", { { "Paired", true } });
    }
    m_bluez->answerAfterAll(pair, error);
    QTRY_COMPARE(allCarried<int>(stateSpy), states);
    QTRY_COMPARE(m_radio->log().contains("org.bluez.Error." + error), states.last() != 100);
}

void BluezPairingTest::asksWhatBluezAsks_data()
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
    row("PIN") << "RequestPinCode" << none << "5190" << QList<int>{ 2, 3, 6 } << "" << QVariantList{ "5190" };
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

void BluezPairingTest::asksWhatBluezAsks()
{
    QFETCH(QString, question);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, answer);
    QFETCH(QList<int>, states);
    QFETCH(QString, code);
    QFETCH(QVariantList, reply);

    QVERIFY(startOn());
    const QString device = m_bluez->addDevice(hci0(), phone(), { { "Name", "Phone" } });
    QSignalSpy stateSpy(&proxy(), &BluetoothIf::pairStateChanged);
    arguments.prepend(path(device));
    const QDBusPendingCall call = m_bluez->callBack("Agent1", question, arguments);
    QTRY_COMPARE(stateSpy.size(), 2);
    QCOMPARE(proxy().confirmationCode(), code);
    if (answer == QLatin1String("confirm")) {
        proxy().ConfirmCode();
    } else if (answer == QLatin1String("reject")) {
        proxy().RejectCode();
    } else if (answer == QLatin1String("cancel")) {
        m_bluez->callBack("Agent1", "Cancel", {});
    } else {
        proxy().PINreply(answer);
    }
    QTRY_COMPARE(allCarried<int>(stateSpy), states);
    const bool shown = question.startsWith("Display");
    QCOMPARE(proxy().confirmationCode(), shown && states.last() == 6 ? code : QString());
    QTRY_VERIFY(!shown || states.last() == 6 || m_bluez->called({ "Device1.Disconnect" }));
    if (reply != QVariantList{ "none" }) {
        QTRY_VERIFY(call.isFinished());
        const QVariantList got =
            call.isError() ? QVariantList{ call.error().name() } : call.reply().arguments();
        QCOMPARE(got, reply);
    }
    if (states.last() == 6) {
        m_bluez->change(device, "Device1", { { "Paired", true } });
        QTRY_COMPARE(proxy().pairState(), 100);
        QCOMPARE(proxy().pairList(), (PairList{ { { PhoneNumber, "Phone", 0 } } }));
        QTRY_COMPARE(m_bluez->property(device, "Trusted"), QVariant(true));
    }
}

void BluezPairingTest::refusesOtherAdapters()
{
    QVERIFY(startOn());
    const QString hci1 = "/org/bluez/hci1";
    m_bluez->addAdapter(hci1);
    const QString device = m_bluez->addDevice(hci1, phone());
    const QDBusPendingCall call = m_bluez->callBack("Agent1", "RequestConfirmation", { path(device), 1U });
    QTRY_VERIFY(call.isFinished());
    QCOMPARE(call.error().name(), QString("org.bluez.Error.Rejected"));
    QCOMPARE(proxy().pairState(), 0);
}

void BluezPairingTest::connects()
{
    QVERIFY(startOn());
    const QString iap = bt::IapUuid;
    const QString device =
        m_bluez->addDevice(hci0(), phone(), { { "Paired", true }, { "UUIDs", QStringList{ iap } } });
    QTRY_COMPARE(proxy().pairList().entries.size(), 1);
    QSignalSpy connected(&proxy(), &BluetoothIf::connectionEstablished);
    QSignalSpy headset(&proxy(), &BluetoothIf::headsetConnected);
    proxy().ConnectAddr(PhoneNumber);
    QTRY_VERIFY(m_bluez->called({ "Device1.Connect" }));
    m_bluez->change(device, "Device1", { { "Connected", true } });
    QVERIFY(connected.wait());
    QCOMPARE(proxy().pairList().entries.first().connectionState, 2U);
    proxy().killIAP();
    QTRY_VERIFY(m_bluez->called({ "Device1.DisconnectProfile" }));
    // What it offers may come to light late.
    m_bluez->change(device, "Device1",
                    { { "UUIDs", QStringList{ iap, "0000111e-0000-1000-8000-00805f9b34fb" } } });
    QVERIFY(headset.wait());
    QCOMPARE(connected.size(), 1);

    m_bluez->answer("Device1.Disconnect", "Failed");
    proxy().DisconnectAddr(PhoneNumber);
    QTRY_VERIFY(m_radio->log().contains("notice: Disconnect 00:11:22:33:44:01 failed: as the test told"));
}

void BluezPairingTest::tellsOfTheCompanion()
{
    QVERIFY(startOn());
    const QString device = m_bluez->addDevice(hci0(), phone(), { { "Paired", true } });
    QDBusPendingReply<> refused = proxy().registerRFCOMMUUID("no UUID");
    refused.waitForFinished();
    QCOMPARE(refused.error().name(), QString("com.qarn.bluetooth.Error.InvalidArgument"));
    proxy().registerRFCOMMUUID("1101");
    QTRY_VERIFY(m_bluez->called({ "ProfileManager1.RegisterProfile" }));
    QSignalSpy companion(&proxy(), &BluetoothIf::mtConnectionEstablished);
    QTemporaryFile file;
    QVERIFY(file.open());
    const QDBusUnixFileDescriptor channel(file.handle());
    const QDBusPendingCall call = m_bluez->callBack(
        "Profile1", "NewConnection", { path(device), QVariant::fromValue(channel), QVariantMap() });
    QVERIFY(companion.wait());
    QCOMPARE(carried<qulonglong>(companion.last()), PhoneNumber);
    QTRY_VERIFY(call.isFinished());
    QVERIFY2(!call.isError(), qPrintable(call.error().message()));
}

void BluezPairingTest::knowsConnections_data()
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

void BluezPairingTest::knowsConnections()
{
    QFETCH(QStringList, uuids);
    QFETCH(int, type);
    QFETCH(uint, bits);
    QCOMPARE(bt::connectionBits(true, uuids, static_cast<BluezQt::Device::Type>(type)), bits);
    QCOMPARE(bt::connectionBits(false, uuids, static_cast<BluezQt::Device::Type>(type)), 0U);
}

QTEST_GUILESS_MAIN(BluezPairingTest)
#include "BluezPairingTest.moc"

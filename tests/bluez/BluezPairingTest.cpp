#include "BluezFixture.h"
#include "ConnectionBits.h"

#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>

namespace {

QVariant path(const QString& text)
{
    return QVariant::fromValue(QDBusObjectPath(text));
}

} // namespace

/// Devices are paired with, connected and asked about.
class BluezPairingTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void mapsPairingErrors_data();
    void mapsPairingErrors();
    void asksWhatBluezAsks_data();
    void asksWhatBluezAsks();
    void takesPins_data();
    void takesPins();
    void refusesTheOpenQuestion_data();
    void refusesTheOpenQuestion();
    void keyPressesAskNothing();
    void questionTakenBackTakesItsCode();
    void declinedOnceIsDeclined();
    void looksForWhoIsNotKnown();
    void incomingPairingEndsWithItsDevice_data();
    void incomingPairingEndsWithItsDevice();
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

void BluezPairingTest::takesPins_data()
{
    QTest::addColumn<QString>("question");
    QTest::addColumn<QStringList>("wrong");
    QTest::addColumn<QString>("right");
    QTest::addColumn<QVariant>("reply");
    const QString umlauts(8, QChar(0xfc)); // two bytes each
    QTest::newRow("PIN of 16 bytes") << "RequestPinCode" << QStringList{ QString(), umlauts + "1" } << umlauts
                                     << QVariant(umlauts);
    QTest::newRow("passkey of six digits")
        << "RequestPasskey" << QStringList{ QString(), "0004711", "12a" } << "4711" << QVariant(4711U);
}

void BluezPairingTest::takesPins()
{
    QFETCH(QString, question);
    QFETCH(QStringList, wrong);
    QFETCH(QString, right);
    QVERIFY(startOn());
    const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
    const QDBusPendingCall call = m_bluez->callBack("Agent1", question, { device });
    QTRY_COMPARE(proxy().pairState(), 3);
    for (const QString& pin : qAsConst(wrong)) {
        QDBusPendingReply<> refused = proxy().PINreply(pin);
        refused.waitForFinished();
        QVERIFY2(refused.error().name().endsWith("InvalidArgument"), qPrintable(pin));
        QCOMPARE(proxy().pairState(), 3); // and it may be answered still
    }
    proxy().PINreply(right);
    QTRY_VERIFY(call.isFinished());
    QTEST(call.reply().arguments().value(0), "reply");
}

void BluezPairingTest::refusesTheOpenQuestion_data()
{
    QTest::addColumn<bool>("ends");
    QTest::newRow("when the next one comes") << false;
    QTest::newRow("when the program ends") << true;
}

void BluezPairingTest::refusesTheOpenQuestion()
{
    QFETCH(bool, ends);
    QVERIFY(startOn());
    const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
    const QDBusPendingCall open = m_bluez->callBack("Agent1", "RequestConfirmation", { device, 1U });
    QTRY_COMPARE(proxy().pairState(), 4);
    if (ends) {
        m_radio->process().signal(SIGTERM);
    } else {
        m_bluez->callBack("Agent1", "RequestAuthorization", { device });
        QTRY_COMPARE(proxy().pairState(), 5);
    }
    QTRY_VERIFY(open.isFinished());
    QCOMPARE(open.error().name(), QString("org.bluez.Error.Rejected"));
}

// bluetoothd tells of each key that is pressed over there by showing the code once more.
void BluezPairingTest::keyPressesAskNothing()
{
    QVERIFY(startOn());
    const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
    const auto show = [&](ushort entered) {
        return m_bluez->callBack("Agent1", "DisplayPasskey",
                                 { device, 4711U, QVariant::fromValue<ushort>(entered) });
    };
    show(0);
    QTRY_COMPARE(proxy().pairState(), 4);
    proxy().ConfirmCode();
    QTRY_COMPARE(proxy().pairState(), 6);
    const QDBusPendingCall pressed = show(1);
    QTRY_VERIFY(pressed.isFinished());
    QCOMPARE(proxy().pairState(), 6);
}

void BluezPairingTest::questionTakenBackTakesItsCode()
{
    QVERIFY(startOn());
    const QString pair = "Device1.Pair";
    const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
    m_bluez->answer(pair, {});
    proxy().Pair(PhoneNumber);
    QTRY_VERIFY(m_bluez->called({ pair }));
    m_bluez->callBack("Agent1", "RequestConfirmation", { device, 4711U });
    QTRY_COMPARE(proxy().confirmationCode(), QString("004711"));
    m_bluez->callBack("Agent1", "Release", {}); // counts as Cancel
    QTRY_COMPARE(proxy().pairState(), 6);
    QCOMPARE(proxy().confirmationCode(), QString());
}

// Until bluetoothd has answered it could still be asked for a PIN, and says that the pairing was cancelled.
void BluezPairingTest::declinedOnceIsDeclined()
{
    QVERIFY(startOn());
    const QString pair = "Device1.Pair";
    const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
    m_bluez->answer(pair, {});
    proxy().Pair(PhoneNumber);
    QTRY_VERIFY(m_bluez->called({ pair }));
    m_bluez->callBack("Agent1", "RequestPinCode", { device });
    QTRY_COMPARE(proxy().pairState(), 3);
    proxy().PINdecline();
    QDBusPendingReply<> late = proxy().PINreply("5190");
    late.waitForFinished();
    QCOMPARE(late.error().name(), QString("com.qarn.bluetooth.Error.NothingPending"));
    m_bluez->answerAfterAll(pair, "AuthenticationCanceled");
    QTRY_COMPARE(proxy().pairState(), 200);
}

void BluezPairingTest::looksForWhoIsNotKnown()
{
    QVERIFY(startOn());
    proxy().Pair(PhoneNumber);
    QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
    m_bluez->addDevice(hci0(), "00:22:00:00:00:01");
    m_bluez->addDevice(hci0(), phone());
    QTRY_VERIFY(m_bluez->called({ "Adapter1.StopDiscovery", "Device1.Pair" }));
    QCOMPARE(proxy().scanState(), 0);
    QVERIFY(proxy().scanResults().entries.isEmpty());
}

void BluezPairingTest::incomingPairingEndsWithItsDevice_data()
{
    QTest::addColumn<bool>("removed");
    QTest::newRow("is removed") << true;
    QTest::newRow("loses its link") << false; // and has two seconds to be paired all the same
}

// bluetoothd tells nobody that it has come to nothing.
void BluezPairingTest::incomingPairingEndsWithItsDevice()
{
    QFETCH(bool, removed);
    QVERIFY(startOn());
    const QString device = m_bluez->addDevice(hci0(), phone(), { { "Connected", true } });
    m_bluez->callBack("Agent1", "RequestConfirmation", { path(device), 1U });
    QTRY_COMPARE(proxy().pairState(), 4);
    proxy().ConfirmCode();
    QTRY_COMPARE(proxy().pairState(), 6);
    if (removed) {
        m_bluez->remove(device);
    } else {
        m_bluez->change(device, "Device1", { { "Connected", false } });
    }
    QTRY_COMPARE(proxy().pairState(), 201);
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
    QTRY_VERIFY(m_radio->log().contains("Disconnect 00:11:22:33:44:01 failed: as the test told"));
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

#include "BluezCause.h"
#include "BluezFixture.h"
#include "DeviceNames.h"
#include "DeviceServices.h"
#include "ManagementEvents.h"

#include <QDBusUnixFileDescriptor>
#include <QScopeGuard>

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

/// Devices are paired with, connected and asked about.
class BluezPairingTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void mapsPairingErrors_data()
    {
        const Rows<QString, bool, QList<int>, QString> row("error", "paired", "states", "why");
        row("page timeout", "ConnectionAttemptFailed", false, { 1, 202 }, "the other device does not answer");
        row("link lost", "AuthenticationCanceled", false, { 1, 202 }, "the link was lost");
        row("lost when paired", "AuthenticationCanceled", true, { 1, 6, 100 }, "");
        row("wrong PIN", "AuthenticationFailed", false, { 1, 201 }, "the two did not agree on a key");
        row("refused over there", "AuthenticationRejected", false, { 1, 201 }, "the other device refused");
        row("nobody answered", "AuthenticationTimeout", false, { 1, 201 },
            "the other device stopped answering");
        row("paired meanwhile", "AlreadyExists", false, { 1, 100 }, "");
        row("another program", "InProgress", false, { 1, 200 }, "somebody else is busy with the device");
        row("not allowed", "NotPermitted", false, { 1, 200 }, "this user may not do that");
        row("anything else", "Failed", false, { 1, 200 }, "the reason is not known");
    }

    void mapsPairingErrors()
    {
        QFETCH(QString, error);
        QFETCH(bool, paired);
        QFETCH(QList<int>, states);
        if (states.last() != 100) {
            expect({ "pairing with " + phone() + " failed" });
        }
        QVERIFY(startOn());
        QSignalSpy stateSpy(&proxy(), &BluetoothIf::pairStateChanged);
        const QVariant device = pairWithPhone();
        if (paired) {
            m_bluez->change(device.value<QDBusObjectPath>().path(), "Device1", { { "Paired", true } });
        }
        m_bluez->answerAfterAll(Pair, error);
        QTRY_COMPARE(allCarried<int>(stateSpy), states);
        QFETCH(QString, why);
        const QString failed = "notice: pairing with " + phone() + " failed: ";
        QTRY_COMPARE(told(failed + why), !why.isEmpty());
        QCOMPARE(told("org.bluez.Error." + error), !why.isEmpty());
    }

    void hearsTheKernel_data()
    {
        // event, the last byte of its device's address, reason; each in its turn
        const Rows<QList<QByteArray>, QString> row("events", "why");
        const QByteArray disconnected = "0c";
        const QByteArray unreached = "0d";
        const QByteArray failed = "11";
        row("nothing", {}, "the two did not agree on a key");
        row("ended over there", { disconnected + "0103" }, "the other device refused");
        row("out of sight", { disconnected + "0101" }, "the link was lost");
        row("no key over there", { disconnected + "0104" }, "the other device has forgotten the pairing");
        row("ended here", { disconnected + "0102" }, "the two did not agree on a key");
        row("refused", { failed + "010b", disconnected + "0103" }, "the other device refused");
        row("a wrong key, then its end", { failed + "0105", disconnected + "0103" },
            "the two did not agree on a key");
        row("no answer", { failed + "0108" }, "the other device stopped answering");
        row("not reached", { unreached + "0104" }, "the other device does not answer");
        row("refused, behind a short one", { "", failed + "010b" }, "the other device refused");
        row("another device", { failed + "0208" }, "the two did not agree on a key");
    }

    void hearsTheKernel()
    {
        QFETCH(QList<QByteArray>, events);
        std::array<int, 2> ends{};
        QCOMPARE(::socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data()), 0);
        QDBusUnixFileDescriptor ours;
        ours.giveFileDescriptor(ends[0]);
        const auto close = qScopeGuard([&] { ::close(ends[1]); });
        for (const QByteArray& event : qAsConst(events)) {
            const QByteArray message = QByteArray::fromHex(
                event.isEmpty() // that looking around has ended
                    ? "1300 0000 0200 0700"
                    : event.left(2) + "00 0000 0800" + event.mid(2, 2) + "4433221100 00" + event.right(2));
            QCOMPARE(::send(ends[1], message.constData(), size_t(message.size()), 0), message.size());
        }
        const auto cause = bt::exactly(QDBusError(QDBusMessage::createError(
                                           "org.bluez.Error.AuthenticationFailed", "Authentication Failed")),
                                       bt::ManagementEvents(ours).causeOf(PhoneNumber));
        QTEST(QString(bt::wordsOf(cause).happened), "why");
    }

    void asksWhatBluezAsks_data()
    {
        // What the agent is asked; what our user does; the states and the code meanwhile; what the agent
        // answers.
        const Rows<QString, QVariantList, QString, QList<int>, QString, QVariantList> row(
            "question", "arguments", "answer", "states", "code", "reply");
        const QVariantList none;
        const QVariant nothingTyped = QVariant::fromValue<ushort>(0);
        row("PIN", "RequestPinCode", none, "5190", { 2, 3, 6 }, "", { "5190" });
        row("passkey", "RequestPasskey", none, "004711", { 2, 3, 6 }, "", { 4711U });
        row("code", "RequestConfirmation", { 4711U }, "confirm", { 2, 4, 6 }, "004711", none);
        row("code 000000", "RequestConfirmation", { 0U }, "confirm", { 2, 4, 6 }, "000000", none);
        row("code, refused", "RequestConfirmation", { 1U }, "reject", { 2, 4, 200 }, "000001",
            { "Rejected" });
        row("no code", "RequestAuthorization", none, "confirm", { 2, 5, 6 }, "", none);
        row("PIN to be typed there", "DisplayPinCode", { "1234" }, "confirm", { 2, 4, 6 }, "1234", none);
        row("passkey to be typed there, refused", "DisplayPasskey", { 4711U, nothingTyped }, "reject",
            { 2, 4, 200 }, "004711", none);
        row("taken back", "RequestAuthorization", none, "cancel", { 2, 5, 201 }, "", { "not looked at" });
    }

    void asksWhatBluezAsks()
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
        const QDBusPendingCall call = callAgent(qPrintable(question), arguments);
        QTRY_COMPARE(stateSpy.size(), 2);
        QCOMPARE(proxy().confirmationCode(), code);
        if (answer == "confirm") {
            proxy().ConfirmCode();
        } else if (answer == "reject") {
            proxy().RejectCode();
        } else if (answer == "cancel") {
            callAgent("Cancel");
        } else {
            proxy().PINreply(answer);
        }
        QTRY_COMPARE(allCarried<int>(stateSpy), states);
        const bool paired = states.last() == 6;
        QTRY_VERIFY(paired || told(answer == "cancel" ? "the other device refused" : "it was refused here"));
        const bool shown = question.startsWith("Display");
        QCOMPARE(proxy().confirmationCode(), shown && paired ? code : QString());
        QTRY_VERIFY(!shown || paired || m_bluez->called({ "Device1.Disconnect" }));
        if (answer != "cancel") {
            const QString error = end(call);
            QCOMPARE(error == "done" ? call.reply().arguments() : QVariantList{ error }, reply);
        }
        if (paired) {
            m_bluez->change(device, "Device1", { { "Paired", true } });
            QTRY_COMPARE(proxy().pairState(), 100);
            QCOMPARE(proxy().pairList(), (PairList{ { { PhoneNumber, "Phone", 0 } } }));
        }
    }

    void refusesOtherAdapters()
    {
        expect({ "it is not at our adapter" });
        QVERIFY(startOn());
        const QString hci1 = "/org/bluez/hci1";
        m_bluez->addAdapter(hci1);
        const QString device = m_bluez->addDevice(hci1, phone());
        QCOMPARE(end(callAgent("RequestConfirmation", { path(device), 1U })), "Rejected");
        QCOMPARE(proxy().pairState(), 0);
    }

    void connects()
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
        QVERIFY(Patience::wait(connected));
        QCOMPARE(proxy().pairList().entries.first().connectionState, 2U);
        proxy().killIAP();
        QTRY_VERIFY(m_bluez->called({ "Device1.DisconnectProfile" }));
        // What it offers may come to light late.
        const QStringList both{ iap, "0000111e-0000-1000-8000-00805f9b34fb" };
        m_bluez->change(device, "Device1", { { "UUIDs", both } });
        QVERIFY(Patience::wait(headset));
        QCOMPARE(connected.size(), 1);

        m_bluez->answer("Device1.Disconnect", "Failed");
        proxy().DisconnectAddr(PhoneNumber);
        QTRY_VERIFY(told("notice: Disconnect 00:11:22:33:44:01 failed: as the test told"));
    }

    void companionsChannelComesAndGoes_data()
    {
        const Rows<bool> row("theyEnd");
        row("bluetoothd ends it", false);
        row("the other side ends it", true);
    }

    void companionsChannelComesAndGoes()
    {
        QVERIFY(startOn());
        const QVariant device = path(addPaired(phone(), "Phone"));
        proxy().registerRFCOMMUUID("1101");
        QTRY_VERIFY(m_bluez->called({ "ProfileManager1.RegisterProfile" }));
        QSignalSpy companion(&proxy(), &BluetoothIf::mtConnectionEstablished);
        std::array<int, 2> channel{};
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, channel.data()), 0);
        const auto close = qScopeGuard([&] { ::close(channel[1]); });
        {
            QDBusUnixFileDescriptor theirs;
            theirs.giveFileDescriptor(channel[0]);
            QCOMPARE(end(m_bluez->callBack("Profile1", "NewConnection",
                                           { device, QVariant::fromValue(theirs), QVariantMap() })),
                     "done");
        }
        QTRY_COMPARE(allCarried<qulonglong>(companion), QList<qulonglong>{ PhoneNumber });
        char byte = 0;
        QCOMPARE(::recv(channel[1], &byte, 1, MSG_DONTWAIT), -1); // nothing has come, nobody has closed it
        QFETCH(bool, theyEnd);
        if (theyEnd) {
            QCOMPARE(::send(channel[1], "unread", 6, 0), 6); // stays where it is
            QCOMPARE(::shutdown(channel[1], SHUT_WR), 0);
        } else {
            m_bluez->callBack("Profile1", "RequestDisconnection", { device });
        }
        QTRY_VERIFY(::recv(channel[1], &byte, 1, MSG_DONTWAIT) == 0 || errno == ECONNRESET);
    }

    void cleansNames_data()
    {
        const Rows<QString, QString> row("name", "clean");
        row("as it is", QString::fromUtf8("Käthes Hörer 🎧"), QString::fromUtf8("Käthes Hörer 🎧"));
        row("steers a terminal", "\x1b[2J\x1b[31mFree\aWi-Fi\n", "[2J [31mFree Wi-Fi");
        row("turns round", QString("Headset%1tesdaeH").arg(QChar(0x202e)), "Headset tesdaeH");
        row("is not seen", QString::fromUtf8("a\u200bb\u2028c\U000e0041d"), "a b c d");
        row("our own mark", "`,.\";00! - 00:11:22:33:44:55", "- 00:11:22:33:44:55");
        row("our own mark, hidden", "`,.`,.\";00!\";00!", "");
        row("nothing else", "\x01\x02 \t", "");
        row("half a pair", QString(QChar(0xd83d)) + "x", QString(QChar(0xfffd)) + "x");
        row("as long as one may be", QString(248, 'x'), QString(248, 'x'));
    }

    void cleansNames()
    {
        QFETCH(QString, name);
        QTEST(bt::cleanName(name), "clean");
    }

    void knowsConnections_data()
    {
        using Type = BluezQt::Device::Type;
        const Rows<QStringList, Type, uint> row("uuids", "type", "bits");
        const auto uuid = [](const char* brief) {
            return bt::fullUuid(brief).toUpper();
        };
        row("nothing known", {}, Type::Uncategorized, 1);
        row("hands-free", { uuid("111E") }, Type::Headset, 4);
        row("speaker", { uuid("110b") }, Type::AudioVideo, 4);
        row("phone", { uuid("111f"), uuid("110a") }, Type::Phone, 1);
        row("computer", { uuid("110b"), uuid("0x1106") }, Type::Computer, 8);
        row("iOS", { bt::IapUuid }, Type::Phone, 2);
        row("several", { uuid("1108"), uuid("00001106") }, Type::Headset, 12);
    }

    void knowsConnections()
    {
        QFETCH(QStringList, uuids);
        QFETCH(BluezQt::Device::Type, type);
        QFETCH(uint, bits);
        QCOMPARE(bt::connectionBits(uuids, type, std::nullopt), bits);
    }
};

QTEST_GUILESS_MAIN(BluezPairingTest)
#include "BluezPairingTest.moc"

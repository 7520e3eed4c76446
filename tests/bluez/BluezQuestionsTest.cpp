#include "BluezFixture.h"

/// What bluetoothd asks while it pairs: which answers are taken, and how it ends without one.
class BluezQuestionsTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void takesPins_data()
    {
        const Rows<QString, QStringList, QString, QVariant> row("question", "wrong", "right", "reply");
        const QString umlauts(8, QChar(0xfc)); // two bytes each
        row("PIN of 16 bytes", "RequestPinCode", { QString(), umlauts + "1" }, umlauts, umlauts);
        row("passkey of six digits", "RequestPasskey", { QString(), "0004711", "12a" }, "4711", 4711U);
    }

    void takesPins()
    {
        QFETCH(QString, question);
        QFETCH(QStringList, wrong);
        QFETCH(QString, right);
        QVERIFY(startOn());
        const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
        const QDBusPendingCall call = callAgent(qPrintable(question), { device });
        QTRY_COMPARE(proxy().pairState(), 3);
        for (const QString& pin : qAsConst(wrong)) {
            QCOMPARE(end(proxy().PINreply(pin)), "InvalidArgument");
            QCOMPARE(proxy().pairState(), 3); // and it may be answered still
        }
        proxy().PINreply(right);
        QCOMPARE(end(call), "done");
        QTEST(call.reply().arguments().value(0), "reply");
    }

    void refusesTheOpenQuestion_data()
    {
        const Rows<bool> row("ends");
        row("when the next one comes", false);
        row("when the program ends", true);
    }

    void refusesTheOpenQuestion()
    {
        QFETCH(bool, ends);
        QVERIFY(startOn());
        const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
        const QDBusPendingCall open = callAgent("RequestConfirmation", { device, 1U });
        QTRY_COMPARE(proxy().pairState(), 4);
        if (ends) {
            m_radio->process().signal(SIGTERM);
            QTRY_VERIFY(told("the radio went off or away"));
        } else {
            QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
            callAgent("RequestConfirmation", { device, 2U });
            QTRY_COMPARE(proxy().confirmationCode(), QString("000002"));
            QCoreApplication::processEvents(); // signals that came before the answer
            QVERIFY2(states.isEmpty(), "it is the same state, and told already");
        }
        QCOMPARE(end(open), "Rejected");
    }

    void oneAtATime()
    {
        QVERIFY(startOn());
        pairWithPhone();
        const QVariant another = path(m_bluez->addDevice(hci0(), stranger()));
        QCOMPARE(end(callAgent("RequestConfirmation", { another, 1U })), "Rejected");
        QCOMPARE(proxy().pairState(), 1);
        QTRY_VERIFY(told("another pairing is under way"));
    }

    // It may pair after all, when nobody reckons with it any more.
    void noAnswerEndsThePairing()
    {
        QVERIFY(startOn());
        pairWithPhone();
        expect({ "pairing with " + phone() + " failed" });
        m_bluez->answerAfterAll(Pair, "org.freedesktop.DBus.Error.NoReply");
        QTRY_VERIFY(m_bluez->called({ Pair, "Device1.CancelPairing" }));
        QTRY_COMPARE(proxy().pairState(), 200);
    }

    // bluetoothd tells of each key that is pressed over there by showing the code once more.
    void keyPressesAskNothing()
    {
        QVERIFY(startOn());
        const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
        const auto show = [&](ushort entered) {
            return callAgent("DisplayPasskey", { device, 4711U, QVariant::fromValue<ushort>(entered) });
        };
        show(0);
        QTRY_COMPARE(proxy().pairState(), 4);
        proxy().ConfirmCode();
        QTRY_COMPARE(proxy().pairState(), 6);
        QCOMPARE(end(show(1)), "done");
        QCOMPARE(proxy().pairState(), 6);
    }

    void questionTakenBackTakesItsCode()
    {
        QVERIFY(startOn());
        callAgent("RequestConfirmation", { pairWithPhone(), 4711U });
        QTRY_COMPARE(proxy().confirmationCode(), QString("004711"));
        callAgent("Release"); // counts as Cancel
        QTRY_COMPARE(proxy().pairState(), 6);
        QCOMPARE(proxy().confirmationCode(), QString());
    }

    // Else it would keep our user from scanning and pairing.
    void askingAgainAndAgainIsNotHeard()
    {
        QVERIFY(startOn());
        const QVariant nuisance = path(m_bluez->addDevice(hci0(), stranger()));
        const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
        for (int round = 0; round < 2; ++round) {
            const QDBusPendingCall call = callAgent("RequestConfirmation", { nuisance, 1U });
            QTRY_COMPARE(proxy().pairState(), 4);
            proxy().RejectCode();
            QCOMPARE(end(call), "Rejected");
            QTRY_COMPARE(proxy().pairState(), 200);
        }
        QTRY_COMPARE(timesTold("it was refused here"), 2);
        QTRY_COMPARE(timesTold("00:22:00:00:00:01 was refused again; it is not heard for 10 s"), 1);
        proxy().Scan();
        QTRY_COMPARE(proxy().scanState(), 1);
        QCOMPARE(end(callAgent("RequestConfirmation", { nuisance, 1U })), "Rejected");
        QCOMPARE(proxy().pairState(), 200);
        QCOMPARE(proxy().scanState(), 1);
        callAgent("RequestConfirmation", { device, 1U });
        QTRY_COMPARE(proxy().pairState(), 4); // another one is
    }

    void ourWishGoesBeforeAQuestion_data()
    {
        const Rows<bool, QString, QList<int>> row("agreed", "pair", "states");
        row("not answered yet", false, "done", { 2, 4, 200, 1 });
        row("agreed to", true, "InProgress", { 2, 4, 6 });
    }

    void ourWishGoesBeforeAQuestion()
    {
        QFETCH(bool, agreed);
        QFETCH(QList<int>, states);
        QVERIFY(startOn());
        const QVariant nuisance = path(m_bluez->addDevice(hci0(), stranger()));
        m_bluez->addDevice(hci0(), phone());
        QSignalSpy stateSpy(&proxy(), &BluetoothIf::pairStateChanged);
        const QDBusPendingCall call = callAgent("RequestConfirmation", { nuisance, 1U });
        QTRY_COMPARE(proxy().pairState(), 4);
        if (agreed) {
            proxy().ConfirmCode();
        }
        m_bluez->answer(Pair, {});
        QTEST(end(proxy().Pair(PhoneNumber)), "pair");
        QTRY_COMPARE(allCarried<int>(stateSpy), states);
        QTRY_VERIFY(agreed || told("it was refused here"));
        QCOMPARE(end(call), agreed ? "done" : "Rejected");
    }

    // Until bluetoothd has answered it could still be asked for a PIN, and says that the pairing was
    // cancelled.
    void declinedOnceIsDeclined()
    {
        QVERIFY(startOn());
        callAgent("RequestPinCode", { pairWithPhone() });
        QTRY_COMPARE(proxy().pairState(), 3);
        proxy().PINdecline();
        QCOMPARE(end(proxy().PINreply("5190")), "NothingPending");
        m_bluez->answerAfterAll(Pair, "AuthenticationCanceled");
        QTRY_COMPARE(proxy().pairState(), 200);
        QTRY_VERIFY(told("it was refused here"));
    }

    void looksForWhoIsNotKnown()
    {
        QVERIFY(startOn());
        proxy().Pair(PhoneNumber);
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
        m_bluez->addDevice(hci0(), stranger());
        m_bluez->addDevice(hci0(), phone());
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StopDiscovery", Pair }));
        QCOMPARE(proxy().scanState(), 0);
        QVERIFY(proxy().scanResults().entries.isEmpty());
    }

    void incomingPairingEndsWithItsDevice_data()
    {
        const Rows<bool> row("removed");
        row("is removed", true);
        row("loses its link", false); // and has two seconds to be paired all the same
    }

    // bluetoothd tells nobody that it has come to nothing.
    void incomingPairingEndsWithItsDevice()
    {
        QFETCH(bool, removed);
        QVERIFY(startOn());
        const QString device = m_bluez->addDevice(hci0(), phone(), { { "Connected", true } });
        callAgent("RequestConfirmation", { path(device), 1U });
        QTRY_COMPARE(proxy().pairState(), 4);
        proxy().ConfirmCode();
        QTRY_COMPARE(proxy().pairState(), 6);
        if (removed) {
            m_bluez->remove(device);
        } else {
            m_bluez->change(device, "Device1", { { "Connected", false } });
        }
        QTRY_COMPARE(proxy().pairState(), 201);
        QTRY_VERIFY(told("did not agree on a key"));
    }

    // The program's clock goes faster than ours, so that its long limits need no long test.
    void endsByItself_data()
    {
        const Rows<bool> row("incoming");
        row("an incoming pairing, 30 s after our answer", true);
        row("a scan, when bluetoothd's round has no end", false);
    }

    void endsByItself()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("no library may be loaded in front of a sanitizer's");
#endif
        QFETCH(bool, incoming);
        qputenv("LD_PRELOAD", "/usr/$LIB/faketime/libfaketime.so.1");
        qputenv("FAKETIME", "+0 x30");
        const bool on = startOn();
        qunsetenv("LD_PRELOAD");
        QVERIFY(on);
        const QVariant device = path(m_bluez->addDevice(hci0(), phone()));
        if (incoming) {
            callAgent("RequestConfirmation", { device, 1U });
            QTRY_COMPARE(proxy().pairState(), 4);
            proxy().ConfirmCode();
            QTRY_COMPARE(proxy().pairState(), 6);
            QTRY_COMPARE(proxy().pairState(), 201);
            QTRY_VERIFY(told("did not agree on a key"));
        } else {
            QSignalSpy states(&proxy(), &BluetoothIf::scanStateChanged);
            proxy().Scan();
            QTRY_COMPARE(allCarried<int>(states), (QList<int>{ 1, 2 }));
        }
    }
};

QTEST_GUILESS_MAIN(BluezQuestionsTest)
#include "BluezQuestionsTest.moc"

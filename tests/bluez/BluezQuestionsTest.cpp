#include "BluezFixture.h"

#include <QDBusPendingReply>

/// What bluetoothd asks while it pairs: which answers are taken, and how it ends without one.
class BluezQuestionsTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
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
};

void BluezQuestionsTest::takesPins_data()
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

void BluezQuestionsTest::takesPins()
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

void BluezQuestionsTest::refusesTheOpenQuestion_data()
{
    QTest::addColumn<bool>("ends");
    QTest::newRow("when the next one comes") << false;
    QTest::newRow("when the program ends") << true;
}

void BluezQuestionsTest::refusesTheOpenQuestion()
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
void BluezQuestionsTest::keyPressesAskNothing()
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

void BluezQuestionsTest::questionTakenBackTakesItsCode()
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
void BluezQuestionsTest::declinedOnceIsDeclined()
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

void BluezQuestionsTest::looksForWhoIsNotKnown()
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

void BluezQuestionsTest::incomingPairingEndsWithItsDevice_data()
{
    QTest::addColumn<bool>("removed");
    QTest::newRow("is removed") << true;
    QTest::newRow("loses its link") << false; // and has two seconds to be paired all the same
}

// bluetoothd tells nobody that it has come to nothing.
void BluezQuestionsTest::incomingPairingEndsWithItsDevice()
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

QTEST_GUILESS_MAIN(BluezQuestionsTest)
#include "BluezQuestionsTest.moc"

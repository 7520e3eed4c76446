#include "AddressHelper.h"
#include "BluesimFixture.h"
#include "support/Rows.h"

#include <QRegularExpression>

namespace {

QString unknown(qulonglong address)
{
    return "`,.\";00! - " + AddressHelper::int2str(address);
}

} // namespace

class BluesimPairingTest : public BluesimFixture
{
    Q_OBJECT

private Q_SLOTS:
    void pairs_data()
    {
        const Rows<qulonglong, QString, QList<int>, QString, QString> row("address", "answer", "states",
                                                                          "code", "name");
        const QString none = "^$";
        row("code, confirmed", room::Phone, "confirm", { 1, 4, 6, 100 }, "^[0-9]{6}$", "Phone");
        row("code, rejected", room::Phone, "reject", { 1, 4, 200 }, "^[0-9]{6}$", "Phone");
        row("code 000000", room::Notebook, "confirm", { 1, 4, 6, 100 }, "^000000$", "Notebook");
        row("just works", room::Headset, "", { 1, 6, 100 }, none, "Headset");
        row("right PIN", room::CarKit, "5190", { 1, 3, 6, 100 }, none, "Car Kit");
        row("wrong PIN", room::CarKit, "5191", { 1, 3, 6, 201 }, none, "Car Kit");
        row("no PIN", room::CarKit, "decline", { 1, 3, 200 }, none, "Car Kit");
        row("simple confirmation, given", room::Strap, "confirm", { 1, 5, 6, 100 }, none, "Heart-rate Strap");
        row("simple confirmation, not given", room::Strap, "reject", { 1, 5, 200 }, none, "Heart-rate Strap");
        row("refused by the device", room::LockedTablet, "confirm", { 1, 201 }, none, "Locked Tablet");
        row("out of reach", room::FarSpeaker, "", { 1, 202 }, none, "");
        row("nobody there", room::Nobody, "", { 1, 202 }, none, "");
        row("no address", 0, "", { 1, 202 }, none, "");
        row("beyond 48 bits", 0x1000000000000ULL, "", { 1, 202 }, none, "");
        row("without a name", room::Nameless, "", { 1, 6, 100 }, none, "");
    }

    void pairs()
    {
        QFETCH(qulonglong, address);
        QFETCH(QString, answer);
        QFETCH(QList<int>, states);
        QFETCH(QString, code);
        QFETCH(QString, name);

        QSignalSpy stateSpy(&proxy(), &BluetoothIf::pairStateChanged);
        QSignalSpy codeSpy(&proxy(), &BluetoothIf::confirmationCodeChanged);
        QSignalSpy pendingSpy(&proxy(), &BluetoothIf::pendingPairChanged);
        QSignalSpy listSpy(&proxy(), &BluetoothIf::pairListChanged);
        QString codeWhenAsked;
        QString codeNow;
        connect(&proxy(), &BluetoothIf::pairStateChanged, this, [&](const QDBusVariant& state) {
            const int number = state.variant().toInt();
            codeNow = codeSpy.isEmpty() ? QString() : carried<QString>(codeSpy.last());
            if (number == 3) {
                answer == "decline" ? proxy().PINdecline() : proxy().PINreply(answer);
            } else if (number == 4 || number == 5) {
                codeWhenAsked = codeNow;
                answer == "confirm" ? proxy().ConfirmCode() : proxy().RejectCode();
            } else {
                QVERIFY2(codeNow.isEmpty(), "a code without a question");
            }
        });
        proxy().Pair(address);
        QTRY_COMPARE(allCarried<int>(stateSpy), states);

        QVERIFY2(QRegularExpression(code).match(codeWhenAsked).hasMatch(), qPrintable(codeWhenAsked));
        QCOMPARE(proxy().confirmationCode(), QString());
        // It was never seen before, so its name comes with the connection.
        QStringList pending{ unknown(address) };
        if (!name.isEmpty())
            pending << name;
        pending << QString();
        QCOMPARE(allCarried<QString>(pendingSpy), pending);
        const PairEntry entry{ address, name, 0 };
        const PairList list = states.last() == 100 ? PairList{ { entry } } : PairList();
        QCOMPARE(proxy().pairList(), list);
        QCOMPARE(listSpy.size(), list.entries.size());
        QCOMPARE(proxy().pairState(), states.last()); // stays to be read
    }

    void pairingEndsAScan()
    {
        QSignalSpy scanStates(&proxy(), &BluetoothIf::scanStateChanged);
        QSignalSpy pairStates(&proxy(), &BluetoothIf::pairStateChanged);
        proxy().Scan();
        proxy().Pair(room::Phone);
        QTRY_COMPARE(allCarried<int>(pairStates), (QList<int>{ 1, 4 }));
        QCOMPARE(allCarried<int>(scanStates), (QList<int>{ 1, 2 }));

        QDBusPendingReply<> refused = proxy().Scan();
        refused.waitForFinished();
        QCOMPARE(refused.error().name(), "com.qarn.bluetooth.Error.InProgress");
        QVERIFY(refused.error().message().contains(AddressHelper::int2str(room::Phone)));
        refused = proxy().Pair(room::Headset);
        refused.waitForFinished();
        QCOMPARE(refused.error().name(), "com.qarn.bluetooth.Error.InProgress");
        proxy().RejectCode();
        QTRY_COMPARE(proxy().pairState(), 200);
        proxy().Scan();
        QTRY_COMPARE(proxy().scanState(), 1);
        QCOMPARE(proxy().pairState(), 200);
    }

    void refuses_data()
    {
        const Rows<QString, QVariant, QString> row("method", "argument", "error");
        row("connect a stranger", "ConnectAddr", room::Phone, "NotPaired");
        row("disconnect a stranger", "DisconnectAddr", room::Phone, "NotPaired");
        row("unpair a stranger", "UnPair", room::Nobody, "NotPaired");
        row("PIN unasked", "PINreply", "1", "NothingPending");
        row("decline unasked", "PINdecline", {}, "NothingPending");
        row("confirm unasked", "ConfirmCode", {}, "NothingPending");
        row("reject unasked", "RejectCode", {}, "NothingPending");
        row("cancel no scan", "CancelScan", {}, "NothingPending");
        row("empty UUID", "registerRFCOMMUUID", QString(), "InvalidArgument");
        row("unknown UUID", "unregisterRFCOMMUUID", "1101", "NotRegistered");
    }

    void refuses()
    {
        QFETCH(QString, method);
        QFETCH(QVariant, argument);
        QFETCH(QString, error);

        const QList<QVariant> arguments =
            argument.isValid() ? QList<QVariant>{ argument } : QList<QVariant>();
        QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
        const QDBusMessage reply = proxy().callWithArgumentList(QDBus::Block, method, arguments);
        QCOMPARE(reply.errorName(), "com.qarn.bluetooth.Error." + error);
        QVERIFY(!reply.errorMessage().isEmpty());
        // Clients that do not wait for replies leave no other trace than this line.
        QVERIFY2(m_sim->log().contains("notice: " + method + " refused: " + reply.errorMessage() + '\n'),
                 qPrintable(m_sim->log()));
        QCOMPARE(proxy().pairState(), 0);
        deliverAll();
        QVERIFY(states.isEmpty());
    }

    // Whoever answered the wrong question is told the right one.
    void refusesTheOtherAnswer_data()
    {
        const Rows<qulonglong, int, QString, QString> row("device", "asks", "method", "fits");
        row("PIN declined", room::Phone, 4, "PINdecline", "ConfirmCode or RejectCode");
        row("code confirmed", room::CarKit, 3, "ConfirmCode", "PINreply or PINdecline");
    }

    void refusesTheOtherAnswer()
    {
        QFETCH(qulonglong, device);
        QFETCH(QString, method);
        QFETCH(QString, fits);
        proxy().Pair(device);
        QFETCH(int, asks);
        QTRY_COMPARE(proxy().pairState(), asks);
        proxy().asyncCall(method);
        QTRY_VERIFY2(m_sim->log().contains("notice: " + method + " refused: "), qPrintable(m_sim->log()));
        QVERIFY2(m_sim->log().contains(fits), qPrintable(m_sim->log()));
    }

    // A text of a client's does not steer the terminal on which it is shown.
    void showsWhatItRefusesEscaped()
    {
        proxy().unregisterRFCOMMUUID("\x1b[2J\nnotice: lie");
        QTRY_VERIFY2(m_sim->log().endsWith("is not registered\n"), qPrintable(m_sim->log()));
        QVERIFY2(m_sim->log().contains("\\x1b[2J\\nnotice: lie"), qPrintable(m_sim->log()));
    }

    void namesThePropertyThatItRefuses()
    {
        proxy().setMyName({});
        QTRY_VERIFY2(m_sim->log().startsWith("notice: myName refused: "), qPrintable(m_sim->log()));
    }

    void tellsOnlyChanges()
    {
        QCOMPARE(proxy().myName(), "TORLO-test"); // without the line end of the argument
        QSignalSpy names(&proxy(), &BluetoothIf::myNameChanged);
        QSignalSpy addresses(&proxy(), &BluetoothIf::myAddressChanged);
        proxy().setMyName("Workshop");
        proxy().setMyName("Workshop");
        proxy().setMyName(QString());
        QTRY_COMPARE(allCarried<QString>(names), QStringList{ "Workshop" });
        QCOMPARE(proxy().myName(), "Workshop");

        const qulonglong address = proxy().myAddress();
        QVERIFY(address != 0);
        proxy().setMyAddress(room::Phone);
        QCOMPARE(proxy().myAddress(), address);
        deliverAll();
        QVERIFY(addresses.isEmpty());
        QCOMPARE(names.size(), 1);

        QVERIFY(pairWith(room::Headset));
        QSignalSpy lists(&proxy(), &BluetoothIf::pairListChanged);
        QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
        QDBusPendingReply<> again = proxy().Pair(room::Headset);
        again.waitForFinished();
        QVERIFY(again.isValid());
        QCOMPARE(proxy().pairState(), 100);
        deliverAll();
        QVERIFY(lists.isEmpty());
        QVERIFY(states.isEmpty());
    }
};

QTEST_GUILESS_MAIN(BluesimPairingTest)
#include "BluesimPairingTest.moc"

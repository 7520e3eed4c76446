#include "AddressHelper.h"
#include "BluesimFixture.h"
#include "support/Rows.h"

class BluesimPairingTest : public BluesimFixture
{
    Q_OBJECT

private Q_SLOTS:
    void refuses_data()
    {
        const Rows<QString, QVariant, QString> row("method", "argument", "error");
        row("connect a stranger", "ConnectAddr", room::Phone, "NotPaired");
        row("disconnect a stranger", "DisconnectAddr", room::Phone, "NotPaired");
        row("unpair a stranger", "UnPair", room::Nobody, "NotPaired");
        row("PIN unasked", "PINreply", "1", "NothingPending");
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
    }
};

QTEST_GUILESS_MAIN(BluesimPairingTest)
#include "BluesimPairingTest.moc"

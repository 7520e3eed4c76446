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
        row("pair with no address", "Pair", 0ULL, "InvalidArgument");
        row("pair beyond 48 bits", "Pair", 0x1000000000000ULL, "InvalidArgument");
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
        QVERIFY2(m_sim->log().contains(method + " refused: " + reply.errorMessage()),
                 qPrintable(m_sim->log()));
        QCOMPARE(proxy().pairState(), 0);
        deliverAll();
        QVERIFY(states.isEmpty());
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

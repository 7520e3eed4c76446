#include "AddressHelper.h"
#include "BluesimFixture.h"

class BluesimPairingTest : public BluesimFixture
{
    Q_OBJECT

private Q_SLOTS:
    void refuses()
    {
        QSignalSpy states(&proxy(), &BluetoothIf::pairStateChanged);
        const QDBusMessage reply = proxy().call("UnPair", room::Nobody);
        QCOMPARE(reply.errorName(), "com.qarn.bluetooth.Error.NotPaired");
        QVERIFY(!reply.errorMessage().isEmpty());
        // Clients that do not wait for replies leave no other trace than this line.
        QVERIFY2(m_sim->log().contains("notice: UnPair refused: " + reply.errorMessage() + '\n'),
                 qPrintable(m_sim->log()));
        QCOMPARE(proxy().pairState(), 0);
        deliverAll();
        QVERIFY(states.isEmpty());
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

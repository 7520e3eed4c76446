#include "BluezFixture.h"

#include <QDBusPendingReply>

/// Which adapter is the radio, the devices that it is paired with and finds, and the services that they use.
class BluezDevicesTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void takesTheFirstAdapter();
    void putsBackWhatItFoundFirst();
    void keepsTheListOfThePaired();
    void scanListsWhatItHears();
    void incomingPairingEndsAScan();
    void servesThePairedAlone();
    void keepsUuids();
    void linkWithoutAServiceIsALink();

private:
    QString addPaired(const QString& address, const QString& name)
    {
        return m_bluez->addDevice(hci0(), address, { { "Paired", true }, { "Name", name } });
    }
    /// "NAME=BITS" of each, in order.
    QStringList paired()
    {
        QStringList texts;
        for (const PairEntry& entry : proxy().pairList().entries) {
            texts << entry.name + '=' + QString::number(entry.connectionState);
        }
        return texts;
    }
    QDBusPendingCall wantService(const QString& device)
    {
        return m_bluez->callBack("Agent1", "AuthorizeService", { path(device), "1101" });
    }
};

void BluezDevicesTest::takesTheFirstAdapter()
{
    m_bluez->appear();
    m_bluez->addAdapter("/org/bluez/hci10", { { "Address", "00:AA:01:00:00:10" } });
    m_bluez->addAdapter("/org/bluez/hci2");
    QVERIFY(m_radio->appear());
    QTRY_COMPARE(proxy().status(), 3);
    QCOMPARE(proxy().myAddress(), 0x00AA01000042ULL);
    m_bluez->remove("/org/bluez/hci2");
    QTRY_COMPARE(proxy().myAddress(), 0x00AA01000010ULL);
    QTRY_COMPARE(proxy().status(), 3);
}

// An adapter that comes back still has what we had set.
void BluezDevicesTest::putsBackWhatItFoundFirst()
{
    QVERIFY(startOn());
    proxy().setMyName("Workshop");
    QTRY_COMPARE(m_bluez->property(hci0(), "Alias"), QVariant("Workshop"));
    m_bluez->remove(hci0());
    QTRY_COMPARE(proxy().status(), 0);
    m_bluez->addAdapter(hci0(), { { "Alias", "Workshop" }, { "Powered", true } });
    QTRY_COMPARE(proxy().status(), 3);
    m_radio->process().signal(SIGTERM);
    QTRY_VERIFY(m_bluez->called({ "Set Alias=", "Set Powered=false" }));
}

void BluezDevicesTest::keepsTheListOfThePaired()
{
    m_bluez->appear();
    m_bluez->addAdapter(hci0());
    const QString late = addPaired("00:11:22:33:44:02", "Late");
    addPaired(phone(), "Early");
    QVERIFY(m_radio->appear());
    QTRY_COMPARE(paired(), (QStringList{ "Early=0", "Late=0" })); // by address at first
    QSignalSpy headsets(&proxy(), &BluetoothIf::headsetConnected);
    for (const char* uuids : { "0000111e", "0000111e 00001106" }) {
        QStringList full;
        for (const QString& brief : QString(uuids).split(' ')) {
            full << brief + "-0000-1000-8000-00805f9b34fb";
        }
        m_bluez->change(late, "Device1", { { "Connected", true }, { "UUIDs", full } });
    }
    m_bluez->change(late, "Device1", { { "Name", "Later" } });
    QTRY_COMPARE(paired(), (QStringList{ "Early=0", "Later=12" }));
    QTRY_COMPARE(headsets.size(), 1);
}

void BluezDevicesTest::scanListsWhatItHears()
{
    QVERIFY(startOn());
    const QString known = addPaired(phone(), "Phone");
    QTRY_COMPARE(paired(), QStringList{ "Phone=0" });
    proxy().Scan();
    QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
    const QString heard = m_bluez->addDevice(hci0(), "00:22:00:00:00:01", { { "Name", "Lamp" } });
    QTRY_COMPARE(proxy().scanResults().entries.size(), 1); // bluetoothd only remembers the other one
    m_bluez->change(heard, "Device1", { { "Name", QString() }, { "RSSI", QVariant::fromValue<short>(-50) } });
    m_bluez->change(known, "Device1", { { "RSSI", QVariant::fromValue<short>(-70) } });
    const ScanResults both{ { { 0x002200000001, -50, "Lamp" }, { PhoneNumber, -70, "Phone" } } };
    QTRY_COMPARE(proxy().scanResults(), both);
}

void BluezDevicesTest::incomingPairingEndsAScan()
{
    QVERIFY(startOn());
    const QString device = m_bluez->addDevice(hci0(), phone());
    proxy().Scan();
    QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
    m_bluez->callBack("Agent1", "RequestAuthorization", { path(device) });
    QTRY_COMPARE(proxy().pairState(), 5);
    QCOMPARE(proxy().scanState(), 2);
    QTRY_VERIFY(m_bluez->called({ "Adapter1.StopDiscovery" }));
}

void BluezDevicesTest::servesThePairedAlone()
{
    QVERIFY(startOn());
    addPaired(phone(), "Phone");
    const QDBusPendingCall friendly = wantService(hci0() + "/dev_00_11_22_33_44_01");
    const QDBusPendingCall strange = wantService(m_bluez->addDevice(hci0(), "00:22:00:00:00:01"));
    QTRY_VERIFY(friendly.isFinished() && strange.isFinished());
    QVERIFY2(!friendly.isError(), qPrintable(friendly.error().message()));
    QCOMPARE(strange.error().name(), QString("org.bluez.Error.Rejected"));
}

void BluezDevicesTest::keepsUuids()
{
    const QString registered = "ProfileManager1.RegisterProfile";
    QVERIFY(startOn());
    proxy().registerRFCOMMUUID("1101");
    QDBusPendingReply<> again = proxy().registerRFCOMMUUID("0x00001101");
    again.waitForFinished();
    QCOMPARE(again.error().name(), QString("com.qarn.bluetooth.Error.AlreadyRegistered"));
    QTRY_VERIFY(m_bluez->called({ registered }));
    m_bluez->vanish();
    m_bluez->forgetCalls();
    m_bluez->appear(); // and knows nothing of it
    QTRY_VERIFY(m_bluez->called({ registered }));
    proxy().unregisterRFCOMMUUID("1101");
    QTRY_VERIFY(m_bluez->called({ registered, "ProfileManager1.UnregisterProfile" }));
    again = proxy().unregisterRFCOMMUUID("1101");
    again.waitForFinished();
    QCOMPARE(again.error().name(), QString("com.qarn.bluetooth.Error.NotRegistered"));
}

// bluetoothd calls it a failure, and keeps the link all the same.
void BluezDevicesTest::linkWithoutAServiceIsALink()
{
    const QString connect = "Device1.Connect";
    QVERIFY(startOn());
    const QString device = addPaired(phone(), "Phone");
    QTRY_COMPARE(paired(), QStringList{ "Phone=0" });
    for (const bool linked : { true, false }) {
        m_bluez->forgetCalls();
        m_bluez->answer(connect, {});
        proxy().ConnectAddr(PhoneNumber);
        QTRY_VERIFY(m_bluez->called({ connect }));
        m_bluez->change(device, "Device1", { { "Connected", linked } });
        m_bluez->answerAfterAll(connect, "NotAvailable");
        QTRY_COMPARE(paired(), QStringList{ linked ? "Phone=1" : "Phone=0" });
    }
    const QString failed = "Connect " + phone() + " failed";
    QTRY_VERIFY(m_radio->log().contains(failed));
    QCOMPARE(m_radio->log().count(failed), 1);
}

QTEST_GUILESS_MAIN(BluezDevicesTest)
#include "BluezDevicesTest.moc"

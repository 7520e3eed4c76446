#include "BluezFixture.h"

#include <QScopeGuard>

/// Which adapter is the radio, the devices that it is paired with and finds, and the services that they use.
class BluezDevicesTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void takesOneAdapter_data()
    {
        const Rows<QByteArray, qulonglong> row("wanted", "address");
        row("the lowest", "", 0x00AA01000002);
        row("by its number", "hci10", 0x00AA01000010);
        row("by its address", "00:aa:01:00:00:10", 0x00AA01000010);
    }

    // Which one bluetoothd tells of first is chance, and another's is not ours to rename.
    void takesOneAdapter()
    {
        expect({ "is gone", "bluetoothd is not there" });
        QFETCH(QByteArray, wanted);
        QFETCH(qulonglong, address);
        const auto adapter = [this](int number) {
            const QString text = QString::number(number);
            m_bluez->addAdapter("/org/bluez/hci" + text,
                                { { "Address", "00:AA:01:00:00:" + text.rightJustified(2, '0') } });
        };
        qputenv("BLUEZ_ADAPTER", wanted);
        const auto unset = qScopeGuard([] { qunsetenv("BLUEZ_ADAPTER"); });
        QVERIFY(m_radio->appear());
        for (int start = 0; start < 2; ++start) {
            m_bluez->appear();
            adapter(10);
            adapter(2);
            QTRY_COMPARE(proxy().status(), 3);
            QCOMPARE(proxy().myAddress(), address);
            m_bluez->vanish();
            QTRY_COMPARE(proxy().status(), 0);
        }
        const bool second = address == 0x00AA01000010;
        m_bluez->appear();
        adapter(second ? 2 : 10);
        QTRY_VERIFY2(told(second ? "is not there, and another is not touched unasked; plug it in, "
                                   "or choose by BLUEZ_ADAPTER or --adapter: hci2 (00:AA:01:00:00:02)"
                                 : "hci10 (00:AA:01:00:00:10)"),
                     qPrintable(m_radio->log()));
        QCOMPARE(m_bluez->property(second ? "/org/bluez/hci2" : "/org/bluez/hci10", "Alias"),
                 QVariant("machine"));
        QCOMPARE(proxy().status(), 0);
    }

    // An adapter that comes back still has what we had set.
    void putsBackWhatItFoundFirst()
    {
        expect({ "is gone", "bluetoothd has no Bluetooth adapter" });
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

    void keepsTheListOfThePaired()
    {
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        const QString late = addPaired("00:11:22:33:44:02", "Late");
        addPaired(phone(), "Early");
        QVERIFY(m_radio->appear());
        QTRY_COMPARE(paired(), (QStringList{ "Early=0", "Late=0" })); // by address at first
        QSignalSpy headsets(&proxy(), &BluetoothIf::headsetConnected);
        QStringList uuids;
        for (const char* brief : { "0000111e", "00001106" }) {
            uuids << QString(brief) + "-0000-1000-8000-00805f9b34fb";
            m_bluez->change(late, "Device1", { { "Connected", true }, { "UUIDs", uuids } });
        }
        m_bluez->change(late, "Device1", { { "Name", "Later" } });
        QTRY_COMPARE(paired(), (QStringList{ "Early=0", "Later=12" }));
        QTRY_COMPARE(headsets.size(), 1);
    }

    void headsetIsThereWithItsSound_data()
    {
        const Rows<bool, bool> row("hasSoundServer", "early");
        row("a sound server", true, false);
        row("one, before us", true, true);
        row("none", false, false);
    }

    // A link alone carries no sound, where a sound server would show that it does.
    void headsetIsThereWithItsSound()
    {
        QFETCH(bool, hasSoundServer);
        QFETCH(bool, early);
        const auto uuids = [](const QString& brief) {
            return QVariantMap{ { "UUIDs", QStringList{ brief + "-0000-1000-8000-00805f9b34fb" } } };
        };
        m_bluez->appear();
        m_bluez->addAdapter(hci0(), hasSoundServer ? uuids("0000110a") : QVariantMap());
        const QString headset = addPaired(phone(), "Headset");
        m_bluez->change(headset, "Device1", uuids("0000110b"));
        if (early) {
            m_bluez->change(headset, "Device1", { { "Connected", true } });
            m_bluez->addTransport(headset);
        }
        QVERIFY(m_radio->appear());
        QTRY_COMPARE(paired(), QStringList{ early ? "Headset=4" : "Headset=0" });
        QSignalSpy headsets(&proxy(), &BluetoothIf::headsetConnected);
        m_bluez->change(headset, "Device1", { { "Connected", true } });
        if (hasSoundServer && !early) {
            QTRY_COMPARE(paired(), QStringList{ "Headset=1" });
            QVERIFY(headsets.isEmpty());
            m_bluez->addTransport(headset);
        }
        QTRY_COMPARE(paired(), QStringList{ "Headset=4" });
        if (!early) {
            QTRY_COMPARE(headsets.size(), 1);
        }
        if (hasSoundServer) {
            m_bluez->remove(headset + "/fd0");
            QTRY_COMPARE(paired(), QStringList{ "Headset=1" });
            m_bluez->change(hci0(), "Adapter1", { { "UUIDs", QStringList() } });
            QTRY_COMPARE(paired(), QStringList{ "Headset=4" });
        }
    }

    void scanListsWhatItHears()
    {
        QVERIFY(startOn());
        const QString known = addPaired(phone(), "Phone");
        QTRY_COMPARE(paired(), QStringList{ "Phone=0" });
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
        const QString heard = m_bluez->addDevice(hci0(), stranger(), { { "Name", "Lamp" } });
        QTRY_COMPARE(proxy().scanResults().entries.size(), 1); // bluetoothd only remembers the other one
        m_bluez->change(heard, "Device1",
                        { { "Name", QString() }, { "RSSI", QVariant::fromValue<short>(-50) } });
        m_bluez->change(known, "Device1", { { "RSSI", QVariant::fromValue<short>(-70) } });
        const ScanResults both{ { { 0x002200000001, -50, "Lamp" }, { PhoneNumber, -70, "Phone" } } };
        QTRY_COMPARE(proxy().scanResults(), both);
    }

    void incomingPairingEndsAScan()
    {
        QVERIFY(startOn());
        const QString device = m_bluez->addDevice(hci0(), phone());
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
        callAgent("RequestAuthorization", { path(device) });
        QTRY_COMPARE(proxy().pairState(), 5);
        QCOMPARE(proxy().scanState(), 2);
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StopDiscovery" }));
    }

    void servesThePairedAlone()
    {
        QVERIFY(startOn());
        const QString friendly = addPaired(phone(), "Phone");
        const QString strange = m_bluez->addDevice(hci0(), stranger());
        QCOMPARE(end(callAgent("AuthorizeService", { path(friendly), "1101" })), "done");
        QCOMPARE(end(callAgent("AuthorizeService", { path(strange), "1101" })), "Rejected");
        const QString keyboard = "00001124-0000-1000-8000-00805f9b34fb";
        QCOMPARE(end(callAgent("AuthorizeService", { path(friendly), keyboard })), "Rejected");
        QTRY_VERIFY(told("wants to use the service " + keyboard));
        QVERIFY(!m_bluez->called({ "Set Trusted=true" })); // bluetoothd would ask nothing any more
    }

    void keepsUuids()
    {
        expect({ "is gone", "bluetoothd is not there", "bluetoothd has no Bluetooth adapter" });
        const QString registered = "ProfileManager1.RegisterProfile";
        QVERIFY(startOn());
        QCOMPARE(end(proxy().registerRFCOMMUUID("no UUID")), "InvalidArgument");
        proxy().registerRFCOMMUUID("1101");
        QCOMPARE(end(proxy().registerRFCOMMUUID("0x00001101")), "AlreadyRegistered");
        QTRY_VERIFY(m_bluez->called({ registered }));
        m_bluez->vanish();
        m_bluez->forgetCalls();
        m_bluez->appear(); // and knows nothing of it
        QTRY_VERIFY(m_bluez->called({ registered }));
        proxy().unregisterRFCOMMUUID("1101");
        QTRY_VERIFY(m_bluez->called({ registered, "ProfileManager1.UnregisterProfile" }));
        QCOMPARE(end(proxy().unregisterRFCOMMUUID("1101")), "NotRegistered");
    }

    void awaitsAUuidThatAnotherHolds_data()
    {
        const Rows<bool> row("anew");
        row("on this bus", false);
        row("on the next one as well", true);
    }

    // It becomes ours when whoever holds it leaves the bus.
    void awaitsAUuidThatAnotherHolds()
    {
        QFETCH(bool, anew);
        const QString registers = "ProfileManager1.RegisterProfile";
        m_bluez->answer(registers, "NotPermitted");
        QVERIFY(startOn());
        if (anew) {
            proxy().registerRFCOMMUUID("1101");
            QTRY_VERIFY(told("another program holds the UUID 00001101-"));
            expect({ "bus has ended", "is gone", "bluetoothd is not there" });
            m_bluez.reset();
            m_bluezBus.stop();
            QTRY_COMPARE(proxy().status(), 0);
            QVERIFY(startBluezBus());
            m_bluez = std::make_unique<FakeBluez>(m_bluezBus.address());
            m_bluez->answer(registers, "NotPermitted");
            m_bluez->appear();
            m_bluez->addAdapter(hci0());
            QTRY_VERIFY(m_bluez->called({ registers }));
            QTRY_COMPARE(proxy().status(), 3);
        }
        auto holder =
            std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(m_bluez->busAddress(), "holder"));
        proxy().registerRFCOMMUUID("1101");
        QTRY_VERIFY(told("another program holds the UUID 00001101-"));
        QCOMPARE(end(proxy().registerRFCOMMUUID("1101")), "Failed");
        m_bluez->answerAfterAll(registers);
        m_bluez->forgetCalls();
        holder.reset();
        QDBusConnection::disconnectFromBus("holder");
        QTRY_VERIFY(m_bluez->called({ registers }));
        QCOMPARE(end(proxy().registerRFCOMMUUID("1101")), "AlreadyRegistered");
    }

    // bluetoothd calls it a failure, and keeps the link all the same.
    void linkWithoutAServiceIsALink()
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
        const QString failed = "connecting with " + phone() + " failed";
        QTRY_VERIFY(told(failed));
        QCOMPARE(timesTold(failed), 1);
    }

    void hasForgottenUs()
    {
        QVERIFY(startOn());
        const QString device = addPaired(phone(), "Phone");
        QTRY_COMPARE(paired(), QStringList{ "Phone=0" });
        QCOMPARE(end(proxy().Pair(PhoneNumber)), "done");
        m_bluez->answer("Device1.Connect", {});
        proxy().ConnectAddr(PhoneNumber);
        QTRY_VERIFY(m_bluez->called({ "Device1.Connect" }));
        m_bluez->answerAfterAll("Device1.Connect", "Failed", "br-connection-key-missing");
        QTRY_VERIFY(told("notice: connecting with " + phone()
                         + " failed: the other device has forgotten the pairing; unpair"));
        QCOMPARE(end(proxy().Pair(PhoneNumber)), "Failed");
        m_bluez->change(device, "Device1", { { "Paired", false } });
        QTRY_COMPARE(paired(), QStringList());
        QCOMPARE(end(proxy().Pair(PhoneNumber)), "done");
    }

    // A private address is the one that was scanned, and stands in scripts and in the user's hand.
    void isFoundByItsFormerAddress()
    {
        QVERIFY(startOn());
        const QString device = addPaired(stranger(), "Watch");
        QTRY_COMPARE(paired(), QStringList{ "Watch=0" });
        m_bluez->change(device, "Device1", { { "Address", phone() } });
        QTRY_COMPARE(proxy().pairList().entries.value(0).address, PhoneNumber);
        QCOMPARE(end(proxy().Pair(0x002200000001)), "done");
        QTRY_COMPARE(proxy().pairState(), 100);
        QVERIFY(!m_bluez->called({ Pair }));
        m_bluez->answer("Device1.Connect", {});
        proxy().ConnectAddr(0x002200000001);
        QTRY_VERIFY(m_bluez->called({ "Device1.Connect" }));
        m_bluez->answerAfterAll("Device1.Connect", "Failed", "br-connection-key-missing");
        QTRY_COMPARE(end(proxy().Pair(0x002200000001)), "Failed");
        QVERIFY(told("has forgotten the pairing"));
        proxy().UnPair(0x002200000001);
        QTRY_VERIFY(m_bluez->called({ "Adapter1.RemoveDevice" }));
    }

private:
    /// "NAME=BITS" of each, in order.
    QStringList paired()
    {
        QStringList texts;
        for (const PairEntry& entry : proxy().pairList().entries) {
            texts << entry.name + '=' + QString::number(entry.connectionState);
        }
        return texts;
    }
};

QTEST_GUILESS_MAIN(BluezDevicesTest)
#include "BluezDevicesTest.moc"

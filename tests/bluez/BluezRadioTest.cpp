#include "BluezFixture.h"

#include <QScopeGuard>

/// bluetoothd, its bus and its adapter come, go, hang and find a crowd.
class BluezRadioTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void comesUpWithBluetoothd()
    {
        expect({ "is gone", "bluetoothd is not there" });
        QVERIFY(m_radio->appear());
        QTRY_VERIFY(told("notice: bluetoothd is not there"));
        QCOMPARE(proxy().status(), 0);
        QCOMPARE(end(proxy().Scan()), "NotReady");
        QVERIFY2(told("notice: Scan refused: bluetoothd is not there"), qPrintable(m_radio->log()));

        QSignalSpy status(&proxy(), &BluetoothIf::statusChanged);
        m_bluez->appear();
        QTRY_VERIFY(told("notice: bluetoothd has no Bluetooth adapter"));
        m_bluez->addAdapter(hci0());
        QTRY_COMPARE(allCarried<int>(status), (QList<int>{ 2, 3 }));
        QCOMPARE(proxy().myAddress(), 0x00AA01000042ULL);
        QCOMPARE(m_bluez->property(hci0(), "Alias").toString(), QString("TORLO-test"));
        QCOMPARE(m_bluez->property(hci0(), "Powered"), QVariant(true));
        QTRY_VERIFY(m_bluez->called({ "AgentManager1.RegisterAgent", "AgentManager1.RequestDefaultAgent" }));

        // Once more: agents do not outlive the daemon.
        m_bluez->vanish();
        QTRY_COMPARE(allCarried<int>(status), (QList<int>{ 2, 3, 0 }));
        m_bluez->forgetCalls();
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        QTRY_COMPARE(allCarried<int>(status), (QList<int>{ 2, 3, 0, 2, 3 }));
        QTRY_VERIFY(m_bluez->called({ "AgentManager1.RegisterAgent" }));
        QCOMPARE(timesTold("notice: bluetoothd is not there"), 2);
        QCOMPARE(timesTold("notice: the radio is /org/bluez/hci0, "), 2);
    }

    // bluetoothd may be too busy to answer when it starts, or may not want to.
    void asksAgain()
    {
        const QString objects = "ObjectManager.GetManagedObjects";
        m_bluez->answer(objects, "Failed");
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        QVERIFY(m_radio->appear());
        QTRY_VERIFY(told("notice: bluetoothd does not tell of its adapters: as the test told"));
        m_bluez->answerAfterAll(objects);
        QTRY_COMPARE(proxy().status(), 3);
    }

    // BluezQt makes its objects twice then, and the first ones follow nothing any more.
    void startsTogetherWithBluetoothd()
    {
        qputenv("BLUEZ_ADAPTER", "hci0");
        const auto unset = qScopeGuard([] { qunsetenv("BLUEZ_ADAPTER"); });
        const QString objects = "ObjectManager.GetManagedObjects";
        m_bluez->answer(objects, {});
        QStringList asked;
        for (int start = 0; start < 2; ++start) {
            m_bluez->vanish();
            m_bluez->appear();
            m_bluez->addAdapter(hci0());
            QVERIFY(start > 0 || m_radio->appear());
            asked << objects;
            QTRY_VERIFY(m_bluez->called(asked));
        }
        m_bluez->answerAfterAll(objects);
        QTRY_COMPARE(proxy().status(), 3);
        QCOMPARE(m_bluez->calls().count("AgentManager1.RegisterAgent"), 1);
    }

    void comesBackWithTheBus_data()
    {
        const Rows<bool> row("late");
        row("that ended", false);
        row("that was not there at first", true);
    }

    void comesBackWithTheBus()
    {
        expect({ "is gone", "bluetoothd is not there" });
        QFETCH(bool, late);
        if (!late) {
            QVERIFY(startOn());
            proxy().registerRFCOMMUUID("1101");
            QTRY_VERIFY(m_bluez->called({ "ProfileManager1.RegisterProfile" }));
            callAgent("RequestConfirmation", { path(m_bluez->addDevice(hci0(), phone())), 1U });
            QTRY_COMPARE(proxy().pairState(), 4);
        }
        m_bluez.reset();
        expect({ "pairing with " + phone() + " failed" }); // that its device is gone may be heard first
        m_bluezBus.stop();
        QVERIFY(!late || m_radio->appear());
        QTRY_VERIFY(told(late ? "cannot be reached" : "system bus has ended"));
        QTRY_COMPARE(proxy().status(), 0);
        QCOMPARE(end(proxy().Scan()), "NotReady");
        QVERIFY(startBluezBus());
        m_bluez = std::make_unique<FakeBluez>(m_bluezBus.address());
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        QTRY_COMPARE(proxy().status(), 3);
        QTRY_COMPARE(m_bluez->calls().count("ProfileManager1.RegisterProfile"), late ? 0 : 1);
        callAgent("RequestConfirmation", { path(m_bluez->addDevice(hci0(), phone())), 1U });
        QTRY_COMPARE(proxy().pairState(), 4);
    }

    void isBlocked()
    {
        m_bluez->answer("Set Powered", "Blocked");
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        QVERIFY(m_radio->appear());
        QTRY_VERIFY(told("notice: the adapter is blocked; \"rfkill unblock bluetooth\""));
        QCOMPARE(proxy().status(), 0);
        m_bluez->change(hci0(), "Adapter1", { { "Powered", true } });
        QTRY_COMPARE(proxy().status(), 3);
    }

    void isSwitchedOffByAnother()
    {
        QVERIFY(startOn());
        proxy().Scan();
        QTRY_COMPARE(proxy().scanState(), 1);
        m_bluez->change(hci0(), "Adapter1", { { "Powered", false } });
        QTRY_COMPARE(proxy().state(), false);
        QCOMPARE(proxy().scanState(), 2);
        proxy().setState(true);
        QTRY_COMPARE(proxy().status(), 3);

        // The last wish counts, though bluetoothd is at the one before.
        QSignalSpy status(&proxy(), &BluetoothIf::statusChanged);
        m_bluez->answer("Set Powered", {});
        proxy().setState(false);
        proxy().setState(true);
        QTRY_COMPARE(proxy().status(), 2);
        m_bluez->answerAfterAll("Set Powered");
        QTRY_COMPARE(allCarried<int>(status), (QList<int>{ 4, 2, 3 }));
        QCOMPARE(m_bluez->property(hci0(), "Powered"), QVariant(true));
    }

    // Clients show the first 32 of them.
    void findsAPersonsDeviceInACrowd()
    {
        constexpr int Crowd = 200;
        constexpr int Rounds = 20;
        QVERIFY(startOn());
        QSignalSpy results(&proxy(), &BluetoothIf::scanResultsChanged);
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
        m_bluez->change(hci0(), "Adapter1", { { "Discovering", true } });
        QElapsedTimer time;
        time.start();
        const auto strength = [](int value) {
            return std::pair<QString, QVariant>("RSSI", QVariant::fromValue(static_cast<short>(value)));
        };
        QStringList beacons;
        for (int number = 0; number < Crowd; ++number) {
            const QString address = QString("00:22:00:00:00:%1").arg(number, 2, 16, QLatin1Char('0'));
            beacons << m_bluez->addDevice(hci0(), address.toUpper(), { strength(-90) });
        }
        m_bluez->addDevice(hci0(), "00:33:00:00:00:03", { strength(-95), { "Class", 0x240404U } });
        m_bluez->addDevice(hci0(), "00:33:00:00:00:02", { { "Name", "Far" } });
        m_bluez->addDevice(hci0(), phone(), { strength(-40), { "Name", "My phone" } });
        for (int round = 0; round < Rounds; ++round) {
            for (const QString& device : qAsConst(beacons)) {
                m_bluez->change(device, "Device1", { strength(-80 + round) });
            }
        }
        const auto last = [&] {
            return results.isEmpty() ? QList<ScanEntry>() : carried<ScanResults>(results.last()).entries;
        };
        QTRY_VERIFY(last().size() == 128 && last().last().signalStrength == -80 + Rounds - 1);
        const QList<ScanEntry> first{ { PhoneNumber, -40, "My phone" },
                                      { 0x003300000002, -127, "Far" },
                                      { 0x003300000003, -95, {} } };
        QCOMPARE(last().mid(0, 3), first);
        const qint64 most = time.elapsed() / 320 + 1;
        QVERIFY2(results.size() <= most, qPrintable(QString::number(results.size())));
        QVERIFY(proxy().scanState() == 1); // until bluetoothd's round is over, names and all
        m_bluez->change(hci0(), "Adapter1", { { "Discovering", false } });
        QTRY_COMPARE(proxy().scanState(), 2);
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StopDiscovery" }));
    }

    // The round that runs already is another program's; of that of our own the first end counts.
    void aRoundOfItsOwn()
    {
        const QString start = "Adapter1.StartDiscovery";
        m_bluez->appear();
        m_bluez->addAdapter(hci0(), { { "Discovering", true } });
        QVERIFY(m_radio->appear());
        QTRY_COMPARE(proxy().status(), 3);
        const auto discovering = [this](bool on) {
            m_bluez->change(hci0(), "Adapter1", { { "Discovering", on } });
        };
        m_bluez->answer(start, "InProgress"); // and goes on all the same
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ start }));
        discovering(false);
        m_bluez->addDevice(hci0(), phone());
        QTRY_COMPARE(proxy().scanResults().entries.size(), 1);
        QCOMPARE(proxy().scanState(), 1);
        discovering(true);
        discovering(false);
        QTRY_COMPARE(proxy().scanState(), 2);
        QTRY_VERIFY(m_bluez->called({ start, "Adapter1.StopDiscovery" }));

        proxy().Scan();
        QTRY_COMPARE(proxy().scanState(), 1);
        QTRY_VERIFY2(told("notice: looking for devices failed"), qPrintable(m_radio->log()));
        QTRY_COMPARE(proxy().scanState(), 2);
    }

    // bluetoothd refuses what comes before it has answered, and would look around for ever.
    void awaitsTheAnswer()
    {
        const QString start = "Adapter1.StartDiscovery";
        const QString stop = "Adapter1.StopDiscovery";
        QVERIFY(startOn());
        m_bluez->answer(start, {});
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ start }));
        proxy().CancelScan();
        QTRY_COMPARE(proxy().scanState(), 2);
        QVERIFY(!m_bluez->called({ stop }));
        m_bluez->answer(stop, {});
        m_bluez->answerAfterAll(start);
        QTRY_VERIFY(m_bluez->called({ start, stop }));
        proxy().Scan();
        QTRY_COMPARE(proxy().scanState(), 1);
        QVERIFY(!m_bluez->called({ stop, start }));
        m_bluez->answerAfterAll(stop);
        QTRY_VERIFY(m_bluez->called({ stop, start }));
    }

    void losesItsAdapter()
    {
        expect({ "is gone", "bluetoothd has no Bluetooth adapter" });
        QVERIFY(startOn());
        m_bluez->addDevice(hci0(), phone(), { { "Paired", true }, { "Connected", true } });
        QTRY_COMPARE(proxy().pairList().entries.size(), 1);
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
        m_bluez->addDevice(hci0(), stranger());
        QTRY_COMPARE(proxy().scanResults().entries.size(), 1);
        QSignalSpy gone(&proxy(), &BluetoothIf::deviceDisconnected);
        m_bluez->remove(hci0() + "/dev_00_11_22_33_44_01");
        m_bluez->remove(hci0() + "/dev_00_22_00_00_00_01");
        m_bluez->remove(hci0());
        QTRY_COMPARE(proxy().status(), 0);
        QCOMPARE(proxy().scanState(), 2);
        QVERIFY(proxy().scanResults().entries.isEmpty());
        QVERIFY(proxy().pairList().entries.isEmpty());
        QTRY_COMPARE(allCarried<qulonglong>(gone), QList<qulonglong>{ PhoneNumber });
        m_bluez->addAdapter("/org/bluez/hci1");
        QTRY_COMPARE(proxy().status(), 3);
    }
};

QTEST_GUILESS_MAIN(BluezRadioTest)
#include "BluezRadioTest.moc"

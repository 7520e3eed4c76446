#include "BluezFixture.h"

/// bluetoothd and its adapter come, go, hang and find a crowd; the program ends in order.
class BluezRadioTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
    void comesUpWithBluetoothd()
    {
        QVERIFY(m_radio->appear());
        QTRY_VERIFY(m_radio->log().contains("notice: bluetoothd is not there"));
        QCOMPARE(proxy().status(), 0);
        QCOMPARE(end(proxy().Scan()), "NotReady");
        QVERIFY2(m_radio->log().contains("notice: Scan refused: bluetoothd is not there"),
                 qPrintable(m_radio->log()));

        QSignalSpy status(&proxy(), &BluetoothIf::statusChanged);
        m_bluez->appear();
        QTRY_VERIFY(m_radio->log().contains("notice: bluetoothd has no Bluetooth adapter"));
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
        QCOMPARE(m_radio->log().count("notice: bluetoothd is not there"), 2);
        QCOMPARE(m_radio->log().count("notice: the radio is /org/bluez/hci0, "), 2);
    }

    // bluetoothd may be too busy to answer when it starts, or may not want to.
    void asksAgain()
    {
        const QString objects = "ObjectManager.GetManagedObjects";
        m_bluez->answer(objects, "Failed");
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        QVERIFY(m_radio->appear());
        QTRY_VERIFY(
            m_radio->log().contains("notice: bluetoothd does not tell of its adapters: as the test told"));
        m_bluez->answerAfterAll(objects);
        QTRY_COMPARE(proxy().status(), 3);
        QVERIFY2(!m_radio->log().contains("is not there"), qPrintable(m_radio->log()));
    }

    void isBlocked()
    {
        m_bluez->answer("Set Powered", "Blocked");
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        QVERIFY(m_radio->appear());
        QTRY_VERIFY(m_radio->log().contains("notice: the adapter is blocked; \"rfkill unblock bluetooth\""));
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

    void gathersACrowd()
    {
        constexpr int Crowd = 200;
        constexpr int Listed = 128;
        constexpr int Rounds = 20;
        QVERIFY(startOn());
        QSignalSpy results(&proxy(), &BluetoothIf::scanResultsChanged);
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
        QElapsedTimer time;
        time.start();
        QStringList devices;
        for (int number = 0; number < Crowd; ++number) {
            const QString address = QString("00:22:00:00:00:%1").arg(number, 2, 16, QLatin1Char('0'));
            devices << m_bluez->addDevice(hci0(), address.toUpper(),
                                          { { "RSSI", QVariant::fromValue<short>(-90) } });
        }
        for (int round = 0; round < Rounds; ++round) {
            for (const QString& device : qAsConst(devices)) {
                m_bluez->change(device, "Device1",
                                { { "RSSI", QVariant::fromValue(static_cast<short>(-80 + round)) } });
            }
        }
        const auto settled = [&] {
            return !results.isEmpty() && carried<ScanResults>(results.last()).entries.size() == Listed
                && carried<ScanResults>(results.last()).entries.last().signalStrength == -80 + Rounds - 1;
        };
        QTRY_VERIFY(settled());
        const qint64 most = time.elapsed() / 320 + 1;
        QVERIFY2(results.size() <= most, qPrintable(QString::number(results.size())));
        const QList<ScanEntry> entries = carried<ScanResults>(results.last()).entries;
        for (int row = 0; row < Listed; ++row) {
            QCOMPARE(entries.at(row).address, 0x002200000000ULL + static_cast<qulonglong>(row));
        }
        proxy().CancelScan();
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StopDiscovery" }));
        QCOMPARE(proxy().scanState(), 2);
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

    void endsInOrder_data()
    {
        const Rows<bool> row("hangs");
        row("in order", false);
        row("bluetoothd hangs", true);
    }

    void endsInOrder()
    {
        QFETCH(bool, hangs);
        QVERIFY(startOn());
        proxy().registerRFCOMMUUID("1101");
        proxy().Scan();
        QTRY_VERIFY(m_bluez->called({ "Adapter1.StartDiscovery" }));
        // A device that shows was told of behind bluetoothd's answer, before which it is not asked to stop.
        m_bluez->addDevice(hci0(), phone(), { { "Paired", true } });
        QTRY_COMPARE(proxy().pairList().entries.size(), 1);
        m_bluez->forgetCalls();
        if (hangs) {
            m_bluez->answer("Set Powered", {});
        }
        QElapsedTimer time;
        time.start();
        m_radio->process().signal(SIGTERM);
        std::optional<int> status;
        QTRY_VERIFY((status = m_radio->process().wait(std::chrono::milliseconds(0))).has_value());
        QCOMPARE(*status, 0);
        QVERIFY(time.elapsed() < 1000);
        QVERIFY2(
            m_bluez->called({ "Adapter1.StopDiscovery", "AgentManager1.UnregisterAgent",
                              "ProfileManager1.UnregisterProfile", "Set Alias=", "Set Pairable=false",
                              "Set Discoverable=false", "Set DiscoverableTimeout=180", "Set Powered=false" }),
            qPrintable(m_bluez->calls().join('\n')));
    }
};

QTEST_GUILESS_MAIN(BluezRadioTest)
#include "BluezRadioTest.moc"

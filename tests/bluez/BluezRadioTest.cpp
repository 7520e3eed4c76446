#include "BluezFixture.h"

#include <QScopeGuard>

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
        QTRY_VERIFY2(m_radio->log().contains("notice: looking for devices failed"),
                     qPrintable(m_radio->log()));
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

    // bluetoothd's own AutoEnable, or a desktop, is at it already: what it found is a radio that is on.
    void meetsAnothersSwitch_data()
    {
        const Rows<bool> row("comes");
        row("it comes on", true);
        row("it does not", false);
    }

    void meetsAnothersSwitch()
    {
        QFETCH(bool, comes);
        m_bluez->appear();
        m_bluez->addAdapter(hci0());
        m_bluez->answer("Set Powered", "Busy");
        QVERIFY(m_radio->appear());
        QSignalSpy status(&proxy(), &BluetoothIf::statusChanged);
        QTRY_VERIFY(m_bluez->called({ "Set Powered=true" }));
        if (comes) {
            m_bluez->change(hci0(), "Adapter1", { { "Powered", true } });
        } else {
            m_bluez->answerAfterAll("Set Powered"); // and so it is asked once more
        }
        QTRY_COMPARE(proxy().status(), 3);
        QVERIFY2(!m_radio->log().contains("failed"), qPrintable(m_radio->log()));
        QTRY_VERIFY(allCarried<int>(status).contains(3));
        QVERIFY(!allCarried<int>(status).contains(1)); // it never seems to be off
        m_bluez->answerAfterAll("Set Powered");
        end();
        QCOMPARE(m_bluez->property(hci0(), "Powered"), QVariant(comes));
    }

    void isChangedByOthers()
    {
        QVERIFY(startOn());
        QTRY_COMPARE(m_bluez->property(hci0(), "Discoverable"), QVariant(true));
        m_bluez->change(hci0(), "Adapter1", { { "Alias", "Kitchen" } });
        QTRY_COMPARE(proxy().myName(), QString("Kitchen"));
        QCOMPARE(m_radio->log().count("another program has changed the adapter"), 0);
        m_bluez->change(hci0(), "Adapter1", { { "Discoverable", false } });
        QTRY_COMPARE(m_radio->log().count("can no longer find it"), 1);
        m_bluez->forgetCalls();
        end(); // and leaves it as they want it
        QVERIFY2(m_bluez->called({ "Set Pairable=false", "Set Powered=false" })
                     && !m_bluez->called({ "Set Alias=" }),
                 qPrintable(m_bluez->calls().join('\n')));
    }

    void leavesAPrivateAdapterAlone_data()
    {
        const Rows<QByteArray, QStringList, QString> row("wanted", "sets", "name");
        row("all of them", "",
            { "Set Alias=TORLO-test", "Set DiscoverableTimeout=0", "Set Discoverable=true",
              "Set PairableTimeout=0", "Set Pairable=true", "Set Powered=true" },
            "TORLO-test");
        row("nobody", "1", { "Set PairableTimeout=0", "Set Pairable=true", "Set Powered=true" }, "machine");
    }

    void leavesAPrivateAdapterAlone()
    {
        QFETCH(QByteArray, wanted);
        QFETCH(QStringList, sets);
        QFETCH(QString, name);
        qputenv("BLUEZ_PRIVATE", wanted);
        const auto unset = qScopeGuard([] { qunsetenv("BLUEZ_PRIVATE"); });
        QVERIFY(startOn());
        QTRY_COMPARE(m_bluez->calls().filter("Set "), sets);
        QTRY_COMPARE(proxy().myName(), name);
        QCOMPARE(m_radio->log().count("other devices will find this machine, as \"TORLO-test\", and may ask"),
                 wanted.isEmpty() ? 1 : 0);
        m_bluez->change(hci0(), "Adapter1", { { "Pairable", true }, { "Discoverable", true } });
        m_bluez->change(hci0(), "Adapter1", { { "Alias", "Kitchen" }, { "Discoverable", false } });
        QTRY_COMPARE(proxy().myName(), QString("Kitchen"));
        QTRY_COMPARE(m_radio->log().count("can no longer find it"), wanted.isEmpty() ? 1 : 0);
    }

    // Else the next run would take what that one has set for what was there before.
    void wasKilled()
    {
        QVERIFY(startOn());
        QTRY_COMPARE(m_bluez->property(hci0(), "Discoverable"), QVariant(true));
        m_radio->process().signal(SIGKILL);
        m_radio = std::make_unique<RadioProgram>(BLUEZRADIO);
        QVERIFY(m_radio->appear());
        QTRY_COMPARE(proxy().status(), 3);
        QVERIFY2(m_radio->log().contains("a run before this one ended without"), qPrintable(m_radio->log()));
        end();
        QCOMPARE(m_bluez->property(hci0(), "Alias"), QVariant(""));
        QCOMPARE(m_bluez->property(hci0(), "Powered"), QVariant(false));
        QVERIFY(runtimeFiles().isEmpty());
    }

    void leavesOnWhatWasOn_data()
    {
        const Rows<bool> row("killed");
        row("found", false);
        row("found by a run that was killed", true);
    }

    void leavesOnWhatWasOn()
    {
        QFETCH(bool, killed);
        m_bluez->appear();
        m_bluez->addAdapter(hci0(), { { "Powered", true }, { "Pairable", true }, { "Discoverable", true } });
        for (int run = killed ? 0 : 1; run < 2; ++run) {
            m_radio->process().signal(SIGKILL);
            m_radio = std::make_unique<RadioProgram>(BLUEZRADIO);
            QVERIFY(m_radio->appear());
            QTRY_COMPARE(m_bluez->property(hci0(), "DiscoverableTimeout"), QVariant(0U));
            QTRY_COMPARE(proxy().status(), 3);
        }
        proxy().setState(false);
        QTRY_COMPARE(proxy().status(), 1);
        m_bluez->forgetCalls();
        end();
        QCOMPARE(m_bluez->calls().filter("Set "),
                 (QStringList{ "Set Alias=", "Set DiscoverableTimeout=180", "Set PairableTimeout=60",
                               "Set Powered=true" }));
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
        end();
        QVERIFY(time.elapsed() < 1000);
        QCOMPARE(runtimeFiles().isEmpty(), !hangs); // what is not back is for the next run
        QVERIFY2(m_bluez->called({ "Adapter1.StopDiscovery", "Set Alias=", "Set Discoverable=false",
                                   "Set DiscoverableTimeout=180", "Set Pairable=false",
                                   "Set PairableTimeout=60", "AgentManager1.UnregisterAgent",
                                   "ProfileManager1.UnregisterProfile", "Set Powered=false" }),
                 qPrintable(m_bluez->calls().join('\n')));
    }
};

QTEST_GUILESS_MAIN(BluezRadioTest)
#include "BluezRadioTest.moc"

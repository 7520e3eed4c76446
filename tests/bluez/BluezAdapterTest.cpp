#include "BluezFixture.h"

#include <QScopeGuard>

/// What the program changes at the adapter, what others change there, and what is put back at the end.
class BluezAdapterTest : public BluezFixture
{
    Q_OBJECT

private Q_SLOTS:
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
        QCOMPARE(timesTold("another program has changed the adapter"), 0);
        m_bluez->change(hci0(), "Adapter1", { { "Discoverable", false } });
        QTRY_COMPARE(timesTold("can no longer find it"), 1);
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
        QCOMPARE(timesTold("other devices will find this machine, as \"TORLO-test\", and may ask"),
                 wanted.isEmpty() ? 1 : 0);
        m_bluez->change(hci0(), "Adapter1", { { "Pairable", true }, { "Discoverable", true } });
        m_bluez->change(hci0(), "Adapter1", { { "Alias", "Kitchen" }, { "Discoverable", false } });
        QTRY_COMPARE(proxy().myName(), QString("Kitchen"));
        QTRY_COMPARE(timesTold("can no longer find it"), wanted.isEmpty() ? 1 : 0);
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
        QVERIFY2(told("a run before this one ended without"), qPrintable(m_radio->log()));
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
        expect({ "a run before this one ended without" });
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

QTEST_GUILESS_MAIN(BluezAdapterTest)
#include "BluezAdapterTest.moc"

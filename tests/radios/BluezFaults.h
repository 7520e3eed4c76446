#pragma once

#include "BluetoothIf.h"
#include "GuestScenery.h"
#include "RadioTest.h"

/// What only a real radio suffers: its daemon dies, its controller is unplugged or blocked.
class BluezFaults : public RadioTest
{
    Q_OBJECT

public:
    BluezFaults(RadioWorld& world, GuestScenery& guest)
        : RadioTest(world)
        , m_guest(guest)
    {
    }

private Q_SLOTS:
    void controllersVanishWhileScanning()
    {
        QVERIFY(scanFinds());
        m_guest.machine().unplug();
        QVERIFY(m_world.await("status", "No Device"));
        QVERIFY(m_world.await("scanstate", "Scan Complete"));
        QCOMPARE(m_world.text("scanresultsAddr:0"), QString());

        plugIn();
        QVERIFY(scanFinds());
        QVERIFY(m_world.await("scanstate", "Scan Complete"));
    }

    void bluetoothdDiesWhilePairing()
    {
        RadioWorld::trigger("pair", m_guest.device(Way::Code, true));
        QVERIFY(m_world.await("pairstate", "Need Confirmation"));
        m_guest.machine().killBluetoothd();
        QVERIFY(m_world.await("status", "No Device"));
        QVERIFY(m_world.await("pairstate", "Idle"));
        QVERIFY(m_world.awaitTold("the radio went off or away"));
        QCOMPARE(m_world.text("confirmationcode"), QString());
        QCOMPARE(m_world.text("pairlistAddr:0"), QString());

        m_guest.machine().startBluetoothd();
        QCOMPARE(m_guest.awaitAdapters(), QString());
        QVERIFY(m_world.await("status", "On"));
        // The controllers are in the middle of the pairing still, and would refuse another one.
        m_guest.machine().unplug();
        QVERIFY(m_world.await("status", "No Device"));
        plugIn();
        QCOMPARE(pairWith(m_world, m_guest.device(Way::Code, true)), "Paired");
    }

    // By an RFCOMM channel that bluetoothd chooses, for a UUID that it has never heard of.
    void companionConnects()
    {
        const QString uuid = "5a1f1e5c-0000-4b0e-9d5e-0123456789ab";
        BluetoothIf daemon("com.qarn.bluetooth", "/com/qarn/Bluetooth", QDBusConnection::systemBus(),
                           nullptr);
        QSignalSpy companion(&daemon, &BluetoothIf::mtConnectionEstablished);
        RadioWorld::trigger("registerrfcommuuid", uuid);
        QCOMPARE(pairWith(m_world, m_guest.device(Way::Code, true)), "Paired");
        SecondRadio::connectTo(GuestScenery::adapterProperty("Address").toString(), uuid);
        QTRY_COMPARE_WITH_TIMEOUT(companion.size(), 1, 60'000);
        RadioWorld::trigger("unregisterrfcommuuid", uuid);
    }

    void isBlocked()
    {
        QVERIFY(GuestScenery::block(true));
        QVERIFY(m_world.await("status", "No Device"));
        QVERIFY(GuestScenery::block(false));
        QVERIFY(m_world.await("status", "On"));
        QCOMPARE(m_guest.awaitAdapters(), QString());
    }

    void leavesTheAdapterAsItWas()
    {
        QCOMPARE(GuestScenery::adapterProperty("Powered"), QVariant(true));
        QVERIFY(GuestScenery::adapterProperty("Alias") != GuestScenery::FoundAlias);
        QVERIFY(m_world.enable(false)); // returns when the program has ended
        for (const char* property : { "Powered", "Discoverable", "Discovering" }) {
            QCOMPARE(GuestScenery::adapterProperty(property), QVariant(false));
        }
        QCOMPARE(GuestScenery::adapterProperty("Alias"), QVariant(GuestScenery::FoundAlias));
        QVERIFY2(!m_world.output().contains("of the adapter failed"), qPrintable(m_world.output()));
    }

private:
    /// Returns while the scan goes on.
    [[nodiscard]] bool scanFinds()
    {
        const QString device = m_guest.device(Way::Code, true);
        RadioWorld::trigger("scan");
        return m_world.await([&] { return m_world.row("scanresultsAddr", device) >= 0; });
    }
    void plugIn()
    {
        m_guest.machine().plugIn();
        QCOMPARE(m_guest.awaitAdapters(), QString());
        QVERIFY(m_world.await("status", "On"));
    }

    GuestScenery& m_guest;
};

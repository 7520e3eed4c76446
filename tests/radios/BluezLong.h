#pragma once

#include "GuestScenery.h"
#include "LowEnergy.h"
#include "RadioTest.h"

/// What a real radio meets in the long run. Each takes long in a guest, so that the gate alone plays it.
class BluezLong : public RadioTest
{
    Q_OBJECT

public:
    BluezLong(RadioWorld& world, GuestScenery& guest)
        : RadioTest(world)
        , m_guest(guest)
    {
    }

private Q_SLOTS:
    // Before the others, of whom the emulated controllers keep something: behind them the link has been seen
    // to hang. The address that was scanned is one of many; its own comes to light with the keys.
    void knowsAPrivateAddress()
    {
        const QString own = m_guest.lowEnergyDevice("DisplayOnly", GuestScenery::Addresses::Private);
        QVERIFY(LowEnergy::hears(m_world, "scanresultsName", "Second"));
        const QString scanned =
            m_world.text(QString("scanresultsAddr:%1").arg(m_world.row("scanresultsName", "Second")));
        QVERIFY2(scanned != own, "it does not hide");
        RadioWorld::trigger("pair", scanned);
        QVERIFY(m_world.await("pairstate", "PIN Needed"));
        const SecondRadio& second = m_guest.second();
        QTRY_VERIFY_WITH_TIMEOUT(!second.shownCode().isEmpty(), 60'000);
        RadioWorld::trigger("pinreply", second.shownCode());
        QVERIFY(m_world.await("pairstate", "Paired"));
        QVERIFY(m_world.await("pairlistAddr:0", own));
        // The guest's kernel ends with a link to one that advertises still.
        QCOMPARE(problemOf(SecondRadio::beClassic()), QString());
        RadioWorld::trigger("unpair", scanned);
        QVERIFY(m_world.await("pairlistAddr:0", QString()));
    }

    // The daemon before the controllers, and the controllers before the daemon.
    void restartsInAnyOrder_data()
    {
        QTest::addColumn<bool>("daemonFirst");
        QTest::newRow("the daemon first") << true;
        QTest::newRow("the controllers first") << false;
    }

    void restartsInAnyOrder()
    {
        QFETCH(bool, daemonFirst);
        m_guest.machine().killBluetoothd();
        QVERIFY(m_world.await("status", "No Device"));
        m_guest.machine().unplug();
        if (daemonFirst) {
            m_guest.machine().startBluetoothd();
            m_guest.machine().plugIn();
        } else {
            m_guest.machine().plugIn();
            m_guest.machine().startBluetoothd();
        }
        QCOMPARE(m_guest.awaitAdapters(), QString());
        QVERIFY(m_world.await("status", "On"));
        QCOMPARE(pairWith(m_world, m_guest.device(Way::Code, true)), "Paired");
    }

    void nobodyIsThere()
    {
        QCOMPARE(pairWith(m_world, Scenery::nobody()), "Failed Connecting");
        QVERIFY(m_world.awaitTold("the other device does not answer"));
    }

    // Another program names the adapter, hides it, and looks around as well.
    void anotherProgramUsesTheAdapter()
    {
        const QString device = m_guest.device(Way::Code, true);
        QCOMPARE(problemOf(guestbluez::setAdapter(EmulatedControllers::FirstAdapter,
                                                  { { "Alias", "Theirs" }, { "Discoverable", false } })),
                 QString());
        QVERIFY(guestbluez::call(EmulatedControllers::FirstAdapter, guestbluez::AdapterInterface,
                                 "StartDiscovery")
                    .type()
                != QDBusMessage::ErrorMessage);
        RadioWorld::trigger("scan");
        QVERIFY(m_world.await([&] { return m_world.row("scanresultsAddr", device) >= 0; }));
        QVERIFY(m_world.await("scanstate", "Scan Complete"));
        guestbluez::call(EmulatedControllers::FirstAdapter, guestbluez::AdapterInterface, "StopDiscovery");
        QCOMPARE(pairWith(m_world, device), "Paired");
        QVERIFY(m_world.output().contains("another program has changed the adapter"));
        QVERIFY(m_world.enable(false));
        QCOMPARE(GuestScenery::adapterProperty("Alias"), QVariant("Theirs"));
    }

private:
    GuestScenery& m_guest;
};

#pragma once

#include "GuestScenery.h"
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

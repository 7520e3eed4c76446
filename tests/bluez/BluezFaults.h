#pragma once

#include "GuestScenery.h"
#include "RadioWorld.h"

#include <QObject>

/// What only a real radio suffers: its daemon dies, its controller is unplugged or blocked.
class BluezFaults : public QObject
{
    Q_OBJECT

public:
    BluezFaults(RadioWorld& world, GuestScenery& guest)
        : m_world(world)
        , m_guest(guest)
    {
    }

private Q_SLOTS:
    void init();
    void cleanup();
    void controllersVanishWhileScanning();
    void bluetoothdDiesWhilePairing();
    void companionConnects();
    void isBlocked();
    void leavesTheAdapterAsItWas();

private:
    [[nodiscard]] bool scanFinds(const QString& device);

    RadioWorld& m_world;
    GuestScenery& m_guest;
};

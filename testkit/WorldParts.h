#pragma once

#include "SimulatedWorld.h"
#include "client/KELClientInterface.h"
#include "world/World.h"

namespace testkit {

/// What a test program does not see of its world.
struct SimulatedWorld::Parts
{
    explicit Parts(const world::PrivateFilesystem& filesystem)
        : world(filesystem)
    {
    }

    world::World world;
    std::unique_ptr<KELClientInterface> client;
    std::unique_ptr<world::ChildProcess> ownDaemon;
    std::chrono::milliseconds patience = std::chrono::seconds(20);
    QString checkedScenario = SimulationOptions().scenario;
    bool hasBuses = false;
};

} // namespace testkit

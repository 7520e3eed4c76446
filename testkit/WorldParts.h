#pragma once

#include "SimulatedWorld.h"
#include "World.h"
#include "client/KELClientInterface.h"

namespace testkit {

/// Why it failed; empty when it did not.
template <typename T>
QString problemOf(const ipc::Outcome<T>& outcome)
{
    return outcome ? QString() : outcome.error().message;
}

inline QString problemOf(const base::Result<>& result)
{
    return result ? QString() : result.error().text;
}

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

#pragma once

#include "SimulatedDevice.h"

#include <chrono>
#include <vector>

namespace bt {

/// Something that happens around the radio by itself.
struct ScenarioEvent
{
    enum class Kind {
        Connect, ///< the device connects, if it is paired
        PairRequest, ///< the device asks to be paired
        Drop, ///< the device loses its connection
        Disappear, ///< the device goes away, or is switched off
        Appear, ///< a device that had disappeared, or was "absent", is there
        Move ///< its signal strength goes to another value
    };

    std::chrono::milliseconds time{ 0 }; ///< since the radio came on for the first time
    Kind kind = Kind::Connect;
    qulonglong address = 0;
    int signalStrength = 0; ///< of Move, in dBm
    std::chrono::milliseconds duration{ 0 }; ///< of Move
};

/// The surroundings of a simulated radio.
struct Scenario
{
    std::vector<SimulatedDevice> devices; ///< no address twice
    std::vector<ScenarioEvent> timeline; ///< by time
};

} // namespace bt

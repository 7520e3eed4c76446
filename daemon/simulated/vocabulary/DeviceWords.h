#pragma once

#include "RadioTypes.h"
#include "SimulatedDevice.h"

#include <array>

namespace bt {

/// How a device pairs, in a scenario file, in "simctl add" and in what is told of it.
struct PairingWord
{
    const char* word;
    SimulatedDevice::Pairing pairing;
    SimulatedDevice::Answer answer;
    const char* help; ///< of the option of that name
    const char* argument = ""; ///< of the option; the file has a field of the word's name for it
};

inline constexpr std::array PairingWords{
    PairingWord{ "just-works", SimulatedDevice::Pairing::JustWorks, SimulatedDevice::Answer::Accepts,
                 "Without asking anybody" },
    PairingWord{ "code", SimulatedDevice::Pairing::Code, SimulatedDevice::Answer::Accepts,
                 "By comparing six digits; those, when they are given", "[DIGITS]" },
    PairingWord{ "confirmation", SimulatedDevice::Pairing::SimpleConfirmation,
                 SimulatedDevice::Answer::Accepts, "By a confirmation without a code" },
    PairingWord{ "pin", SimulatedDevice::Pairing::Pin, SimulatedDevice::Answer::Accepts, "By this PIN", "P" },
    PairingWord{ "wrong-pin", SimulatedDevice::Pairing::Pin, SimulatedDevice::Answer::Accepts,
                 "It asks for a PIN and takes none" },
    PairingWord{ "refuses", SimulatedDevice::Pairing::Code, SimulatedDevice::Answer::Refuses, "It refuses" },
    PairingWord{ "times-out", SimulatedDevice::Pairing::JustWorks, SimulatedDevice::Answer::Silent,
                 "It says no more once it is reached" },
    PairingWord{ "out-of-reach", SimulatedDevice::Pairing::JustWorks, SimulatedDevice::Answer::OutOfReach,
                 "It is heard, but cannot be reached" },
    PairingWord{ "forgets", SimulatedDevice::Pairing::JustWorks, SimulatedDevice::Answer::Forgets,
                 "It pairs, and then knows nothing of it: connecting fails" },
};

/// What a device is: "is" of a scenario file, an option of "simctl add".
struct RoleWord
{
    const char* word;
    unsigned connection; ///< the bit of its connection
    bool SimulatedDevice::*also; ///< what it is besides; may be null
    const char* help; ///< of the option of that name; null when there is none
};

inline constexpr std::array RoleWords{
    RoleWord{ "plain", Plain, nullptr, nullptr },
    RoleWord{ "headset", Headset, nullptr, "Its connection is that of a headset" },
    RoleWord{ "app", NotConnected, &SimulatedDevice::companion, "The companion application runs on it" },
    RoleWord{ "ftp", Ftp, nullptr, "Its connection transfers files" },
    RoleWord{ "ios", Iap, nullptr, "It is an iOS device" },
    RoleWord{ "wifed", NotConnected, &SimulatedDevice::wifed,
              "It is a Wi-FED: a command socket opens with its connection" },
};

} // namespace bt

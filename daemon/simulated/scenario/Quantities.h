#pragma once

#include <chrono>
#include <cmath>

namespace bt {

// What a person may tell a simulation, in a file or while it runs.
constexpr int WeakestSignal = -127; ///< dBm
constexpr int StrongestSignal = 20; ///< dBm
constexpr double LongestTime = 86'400; ///< seconds

inline std::chrono::milliseconds milliseconds(double seconds)
{
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

} // namespace bt

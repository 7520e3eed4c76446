#include "SimulatedDevice.h"

#include <algorithm>
#include <cmath>

namespace bt {

int SimulatedDevice::signalStrengthAt(std::chrono::milliseconds time) const
{
    if (!movement) {
        return signalStrength;
    }
    const auto duration = static_cast<double>(movement->duration.count());
    double part = duration > 0 ? static_cast<double>((time - movement->begin).count()) / duration : 1;
    if (movement->returns && duration > 0) {
        const double phase = std::fmod(std::max(part, 0.0), 2);
        part = phase <= 1 ? phase : 2 - phase;
    }
    const double distance = movement->to - movement->from;
    return movement->from + static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * distance));
}

} // namespace bt

#pragma once

#include <QVariantMap>

#include <chrono>

namespace bt {

class SimulatedRadio;
struct SimulatedDevice;

/// What the control interface tells of a device, at a time of the simulation.
[[nodiscard]] QVariantMap deviceRecord(const SimulatedDevice& device, const SimulatedRadio& radio,
                                       std::chrono::milliseconds now);

} // namespace bt

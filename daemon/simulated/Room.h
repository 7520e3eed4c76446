#pragma once

#include "SimulatedDevice.h"

#include <map>
#include <vector>

namespace bt {

/// The devices around the radio, by address; also those that are away now.
class Room
{
public:
    Room() = default;
    explicit Room(const std::vector<SimulatedDevice>& devices);

    /// Null when no such device is there.
    [[nodiscard]] SimulatedDevice* find(qulonglong address);
    [[nodiscard]] const SimulatedDevice* find(qulonglong address) const;
    /// Also one that is away; null when there was never such a device.
    [[nodiscard]] SimulatedDevice* known(qulonglong address);
    [[nodiscard]] bool knows(qulonglong address) const { return m_devices.count(address) != 0; }
    [[nodiscard]] const std::map<qulonglong, SimulatedDevice>& devices() const { return m_devices; }

    /// Takes the place of a device with the same address.
    void put(const SimulatedDevice& device);

    /// The name of the device as far as the radio knows it, otherwise empty.
    [[nodiscard]] QString knownName(qulonglong address) const;
    /// Asks the device for its name, once a connection stands.
    void learnName(qulonglong address);

private:
    std::map<qulonglong, SimulatedDevice> m_devices;
};

} // namespace bt

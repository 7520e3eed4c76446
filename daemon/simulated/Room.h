#pragma once

#include "SimulatedDevice.h"

#include <map>
#include <vector>

namespace bt {

/// The devices around the radio, by address.
class Room
{
public:
    Room() = default;
    explicit Room(const std::vector<SimulatedDevice>& devices);

    /// Null when there is no such device.
    [[nodiscard]] SimulatedDevice* find(qulonglong address);
    [[nodiscard]] const std::map<qulonglong, SimulatedDevice>& devices() const { return m_devices; }

    /// The name of the device as far as the radio knows it, otherwise empty.
    [[nodiscard]] QString knownName(qulonglong address) const;
    /// Asks the device for its name, once a connection stands.
    void learnName(qulonglong address);

    /// A small room with a device of every kind.
    static Room small();

private:
    std::map<qulonglong, SimulatedDevice> m_devices;
};

} // namespace bt

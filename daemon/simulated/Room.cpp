#include "Room.h"

namespace bt {

Room::Room(const std::vector<SimulatedDevice>& devices)
{
    for (const SimulatedDevice& device : devices) {
        put(device);
    }
}

SimulatedDevice* Room::known(qulonglong address)
{
    const auto found = m_devices.find(address);
    return found == m_devices.end() ? nullptr : &found->second;
}

SimulatedDevice* Room::find(qulonglong address)
{
    SimulatedDevice* device = known(address);
    return device != nullptr && device->present ? device : nullptr;
}

const SimulatedDevice* Room::find(qulonglong address) const
{
    const auto found = m_devices.find(address);
    return found != m_devices.end() && found->second.present ? &found->second : nullptr;
}

void Room::put(const SimulatedDevice& device)
{
    m_devices.insert_or_assign(device.address, device);
}

QString Room::knownName(qulonglong address) const
{
    const auto found = m_devices.find(address);
    return found != m_devices.end() && found->second.nameKnown ? found->second.name : QString();
}

void Room::learnName(qulonglong address)
{
    if (SimulatedDevice* device = find(address)) {
        device->nameKnown = true;
    }
}

} // namespace bt

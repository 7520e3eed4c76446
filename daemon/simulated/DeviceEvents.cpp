// What the devices around the radio do by themselves.
#include "AddressHelper.h"
#include "Quoted.h"
#include "SimulatedRadio.h"
#include "SimulationClock.h"

#include <utility>

namespace bt {

namespace {

/// Its name, unless there is none that can be read.
QString titleOf(const SimulatedDevice& device)
{
    const bool isReadable = base::quoted(device.name).size() == device.name.size() + 2;
    return isReadable && !device.name.isEmpty() ? device.name : AddressHelper::int2str(device.address);
}

} // namespace

base::Result<> SimulatedRadio::requireThere(qulonglong address) const
{
    const auto found = m_room.devices().find(address);
    if (found == m_room.devices().end()) {
        return base::error(QStringLiteral("there is no device %1").arg(AddressHelper::int2str(address)),
                           base::Failure::InvalidArgument);
    }
    if (!found->second.present) {
        return base::error(QStringLiteral("%1 is away; it has to return first").arg(titleOf(found->second)));
    }
    return {};
}

void SimulatedRadio::pairAsInRoom()
{
    PairList list;
    for (const auto& [address, device] : m_room.devices()) {
        if (device.paired) {
            list.entries.append(PairEntry{ address, device.name, NotConnected });
        }
    }
    m_paired.restore(list);
}

base::Result<> SimulatedRadio::addDevice(const SimulatedDevice& device)
{
    if (m_room.find(device.address) != nullptr) {
        return base::error(QStringLiteral("there is a device %1 already; remove it first")
                               .arg(AddressHelper::int2str(device.address)),
                           base::Failure::InvalidArgument);
    }
    m_room.put(device);
    if (device.paired) {
        m_paired.add(device.address, device.name);
    }
    return {};
}

base::Result<> SimulatedRadio::removeDevice(qulonglong address)
{
    SimulatedDevice* device = m_room.known(address);
    if (device == nullptr) {
        return requireThere(address);
    }
    if (!std::exchange(device->present, false)) {
        return base::error(QStringLiteral("%1 is away already").arg(titleOf(*device)));
    }
    m_paired.drop(address);
    return {};
}

base::Result<> SimulatedRadio::returnDevice(qulonglong address)
{
    SimulatedDevice* device = m_room.known(address);
    if (device == nullptr) {
        return requireThere(address);
    }
    if (std::exchange(device->present, true)) {
        return base::error(QStringLiteral("%1 is there already").arg(titleOf(*device)));
    }
    return {};
}

base::Result<> SimulatedRadio::moveDevice(qulonglong address, int signalStrength,
                                          std::chrono::milliseconds duration)
{
    if (base::Result<> there = requireThere(address); !there) {
        return there;
    }
    SimulatedDevice& device = *m_room.find(address);
    device.movement =
        Movement{ m_clock.now(), duration, device.signalStrengthAt(m_clock.now()), signalStrength, false };
    return {};
}

base::Result<> SimulatedRadio::deviceConnects(qulonglong address)
{
    if (base::Result<> there = requireThere(address); !there) {
        return there;
    }
    if (base::Result<> ready = requireOn(); !ready) {
        return ready;
    }
    return m_paired.acceptConnection(address);
}

base::Result<> SimulatedRadio::deviceDrops(qulonglong address)
{
    if (base::Result<> there = requireThere(address); !there) {
        return there;
    }
    for (const PairEntry& entry : pairs().entries) {
        if (entry.address == address && entry.connectionState != NotConnected) {
            m_paired.drop(address);
            return {};
        }
    }
    return base::error(QStringLiteral("%1 is not connected").arg(AddressHelper::int2str(address)),
                       base::Failure::NotConnected);
}

base::Result<> SimulatedRadio::deviceAsksToPair(qulonglong address)
{
    if (base::Result<> there = requireThere(address); !there) {
        return there;
    }
    if (base::Result<> ready = requireOn(); !ready) {
        return ready;
    }
    if (base::Result<> idle = requireNoPairing(QStringLiteral("one pairing at a time")); !idle) {
        return idle;
    }
    if (m_paired.contains(address)) {
        return base::error(QStringLiteral("%1 is paired already").arg(AddressHelper::int2str(address)));
    }
    if (base::Result<> heard = requireHeard(address, AddressHelper::int2str(address)); !heard) {
        return heard;
    }
    endScan();
    newPairing(address).beginIncoming();
    return {};
}

base::Result<> SimulatedRadio::deviceAnswers(qulonglong address, bool accepts)
{
    if (base::Result<> there = requireThere(address); !there) {
        return there;
    }
    if (!m_pairing || m_pairing->address() != address) {
        return base::error(
            QStringLiteral("no pairing with %1 is under way").arg(AddressHelper::int2str(address)),
            base::Failure::NothingPending);
    }
    return m_pairing->deviceAnswers(accepts);
}

PairState SimulatedRadio::pairStateOf(qulonglong address) const
{
    return m_pairing && m_pairing->address() == address ? m_pairing->progress().state : PairState::Idle;
}

} // namespace bt

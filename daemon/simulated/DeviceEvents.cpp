// What the devices around the radio do by themselves.
#include "AddressHelper.h"
#include "SimulatedRadio.h"
#include "SimulationClock.h"
#include "base/Quoted.h"

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

Outcome SimulatedRadio::notThere(qulonglong address) const
{
    const auto found = m_room.devices().find(address);
    if (found == m_room.devices().end()) {
        return Refusal{ Error::InvalidArgument,
                        QStringLiteral("there is no device %1").arg(AddressHelper::int2str(address)) };
    }
    if (!found->second.present) {
        return Refusal{ Error::Failed,
                        QStringLiteral("%1 is away; it has to return first").arg(titleOf(found->second)) };
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

Outcome SimulatedRadio::addDevice(const SimulatedDevice& device)
{
    if (m_room.find(device.address) != nullptr) {
        return Refusal{ Error::InvalidArgument,
                        QStringLiteral("there is a device %1 already; remove it first")
                            .arg(AddressHelper::int2str(device.address)) };
    }
    m_room.put(device);
    if (device.paired) {
        m_paired.add(device.address, device.name);
    }
    return {};
}

Outcome SimulatedRadio::removeDevice(qulonglong address)
{
    SimulatedDevice* device = m_room.known(address);
    if (device == nullptr) {
        return notThere(address);
    }
    if (!std::exchange(device->present, false)) {
        return Refusal{ Error::Failed, QStringLiteral("%1 is away already").arg(titleOf(*device)) };
    }
    m_paired.drop(address);
    return {};
}

Outcome SimulatedRadio::returnDevice(qulonglong address)
{
    SimulatedDevice* device = m_room.known(address);
    if (device == nullptr) {
        return notThere(address);
    }
    if (std::exchange(device->present, true)) {
        return Refusal{ Error::Failed, QStringLiteral("%1 is there already").arg(titleOf(*device)) };
    }
    return {};
}

Outcome SimulatedRadio::moveDevice(qulonglong address, int signalStrength, std::chrono::milliseconds duration)
{
    if (Outcome missing = notThere(address)) {
        return missing;
    }
    SimulatedDevice& device = *m_room.find(address);
    device.movement =
        Movement{ m_clock.now(), duration, device.signalStrengthAt(m_clock.now()), signalStrength, false };
    return {};
}

Outcome SimulatedRadio::deviceConnects(qulonglong address)
{
    if (Outcome missing = notThere(address)) {
        return missing;
    }
    if (Outcome refused = notOn()) {
        return refused;
    }
    return m_paired.acceptConnection(address);
}

Outcome SimulatedRadio::deviceDrops(qulonglong address)
{
    if (Outcome missing = notThere(address)) {
        return missing;
    }
    for (const PairEntry& entry : pairs().entries) {
        if (entry.address == address && entry.connectionState != NotConnected) {
            m_paired.drop(address);
            return {};
        }
    }
    return Refusal{ Error::NotConnected,
                    QStringLiteral("%1 is not connected").arg(AddressHelper::int2str(address)) };
}

Outcome SimulatedRadio::deviceAsksToPair(qulonglong address)
{
    if (Outcome missing = notThere(address)) {
        return missing;
    }
    if (Outcome refused = notOn()) {
        return refused;
    }
    if (Outcome busy = busyPairing(QStringLiteral("one pairing at a time"))) {
        return busy;
    }
    if (m_paired.contains(address)) {
        return Refusal{ Error::Failed,
                        QStringLiteral("%1 is paired already").arg(AddressHelper::int2str(address)) };
    }
    endScan();
    newPairing(address).beginIncoming();
    return {};
}

Outcome SimulatedRadio::deviceAnswers(qulonglong address, bool accepts)
{
    if (Outcome missing = notThere(address)) {
        return missing;
    }
    if (!m_pairing || m_pairing->address() != address) {
        return Refusal{
            Error::NothingPending,
            QStringLiteral("no pairing with %1 is under way").arg(AddressHelper::int2str(address))
        };
    }
    return m_pairing->deviceAnswers(accepts);
}

PairState SimulatedRadio::pairStateOf(qulonglong address) const
{
    return m_pairing && m_pairing->address() == address ? m_pairing->progress().state : PairState::Idle;
}

} // namespace bt

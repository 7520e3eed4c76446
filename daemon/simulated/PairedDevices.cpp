#include "PairedDevices.h"

#include "AddressHelper.h"
#include "Room.h"
#include "SimulationClock.h"

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr auto ConnectTime = 700ms;
constexpr auto ConnectTimeout = 5120ms;
constexpr auto DisconnectTime = 150ms;

base::Result<> notPaired(qulonglong address)
{
    return base::error(
        QStringLiteral("%1 is not paired; pair with it first").arg(AddressHelper::int2str(address)),
        base::Failure::NotPaired);
}

} // namespace

PairedDevices::PairedDevices(Room& room, SimulationClock& clock)
    : m_room(room)
    , m_clock(clock)
{
}

int PairedDevices::rowOf(qulonglong address) const
{
    for (int row = 0; row < m_list.entries.size(); ++row) {
        if (m_list.entries.at(row).address == address) {
            return row;
        }
    }
    return -1;
}

bool PairedDevices::contains(qulonglong address) const
{
    return rowOf(address) >= 0;
}

void PairedDevices::add(qulonglong address, const QString& name)
{
    if (contains(address)) {
        return;
    }
    m_list.entries.append(PairEntry{ address, name, NotConnected });
    Q_EMIT listChanged(m_list);
}

void PairedDevices::restore(const PairList& list)
{
    for (const PairEntry& entry : list.entries) {
        if (!contains(entry.address)) {
            m_list.entries.append(PairEntry{ entry.address, entry.name, NotConnected });
        }
    }
}

base::Result<> PairedDevices::remove(qulonglong address)
{
    if (!contains(address)) {
        return notPaired(address);
    }
    end(address);
    m_list.entries.removeAt(rowOf(address));
    Q_EMIT listChanged(m_list);
    return {};
}

base::Result<> PairedDevices::connectDevice(qulonglong address)
{
    const int row = rowOf(address);
    if (row < 0) {
        return notPaired(address);
    }
    if (m_underWay.count(address) != 0) {
        return base::error(QStringLiteral("%1 is being connected or disconnected; wait for the end of that")
                               .arg(AddressHelper::int2str(address)),
                           base::Failure::InProgress);
    }
    if (m_list.entries.at(row).connectionState != NotConnected) {
        return {}; // there already
    }
    const SimulatedDevice* device = m_room.find(address);
    if (device == nullptr || device->answer == SimulatedDevice::Answer::OutOfReach) {
        plan(address, ConnectTimeout, &PairedDevices::giveUp);
    } else {
        plan(address, ConnectTime, &PairedDevices::establish);
    }
    return {};
}

base::Result<> PairedDevices::acceptConnection(qulonglong address)
{
    const int row = rowOf(address);
    if (row < 0) {
        return notPaired(address);
    }
    if (m_list.entries.at(row).connectionState == NotConnected) {
        establish(address);
    }
    return {};
}

base::Result<> PairedDevices::disconnectDevice(qulonglong address)
{
    const int row = rowOf(address);
    if (row < 0) {
        return notPaired(address);
    }
    if (m_list.entries.at(row).connectionState != NotConnected) {
        plan(address, DisconnectTime, &PairedDevices::end);
        return {};
    }
    if (m_underWay.erase(address) == 0) {
        return base::error(QStringLiteral("%1 is not connected").arg(AddressHelper::int2str(address)),
                           base::Failure::NotConnected);
    }
    return {}; // a connection that was being made
}

void PairedDevices::dropAll()
{
    m_underWay.clear();
    disconnectAll(~0U);
}

void PairedDevices::disconnectAll(unsigned connections)
{
    const QList<PairEntry> entries = m_list.entries;
    for (const PairEntry& entry : entries) {
        if ((entry.connectionState & connections) != 0) {
            end(entry.address);
        }
    }
}

void PairedDevices::plan(qulonglong address, std::chrono::milliseconds delay,
                         void (PairedDevices::*step)(qulonglong))
{
    auto& underWay = m_underWay[address];
    underWay = std::make_unique<QObject>();
    m_clock.after(delay, underWay.get(), [this, address, step] { (this->*step)(address); });
}

void PairedDevices::establish(qulonglong address)
{
    m_underWay.erase(address);
    const SimulatedDevice* device = m_room.find(address);
    if (device == nullptr) {
        giveUp(address);
        return;
    }
    if (device->answer == SimulatedDevice::Answer::Forgets) {
        fail(address, Cause::ForgotUs);
        return;
    }
    PairEntry& entry = m_list.entries[rowOf(address)];
    m_room.learnName(address);
    entry.name = m_room.knownName(address);
    entry.connectionState = device->connection;
    Q_EMIT listChanged(m_list);
    Q_EMIT connected(address, *device);
}

void PairedDevices::fail(qulonglong address, Cause cause)
{
    m_underWay.erase(address);
    Q_EMIT connectionFailed(address, cause);
}

void PairedDevices::end(qulonglong address)
{
    m_underWay.erase(address);
    const int row = rowOf(address);
    if (row < 0 || m_list.entries.at(row).connectionState == NotConnected) {
        return;
    }
    m_list.entries[row].connectionState = NotConnected;
    Q_EMIT listChanged(m_list);
    Q_EMIT disconnected(address);
}

} // namespace bt

#include "KnownDevices.h"

#include "AddressHelper.h"
#include "ConnectionBits.h"
#include "RadioTypes.h"

#include <algorithm>

namespace bt {

namespace {

qulonglong addressOf(const BluezQt::DevicePtr& device)
{
    return AddressHelper::str2int(device->address());
}

PairEntry entryOf(const BluezQt::DevicePtr& device)
{
    return { addressOf(device), device->remoteName(),
             connectionBits(device->isConnected(), device->uuids(), device->type()) };
}

} // namespace

void KnownDevices::follow(const BluezQt::AdapterPtr& adapter)
{
    m_adapter = adapter;
    connect(adapter.data(), &BluezQt::Adapter::deviceAdded, this, &KnownDevices::watch);
    connect(adapter.data(), &BluezQt::Adapter::deviceRemoved, this,
            [this](const BluezQt::DevicePtr& device) { forget(addressOf(device)); });
    QList<BluezQt::DevicePtr> devices = adapter->devices();
    std::sort(devices.begin(), devices.end(),
              [](const auto& left, const auto& right) { return left->address() < right->address(); });
    for (const BluezQt::DevicePtr& device : qAsConst(devices)) {
        watch(device);
    }
}

void KnownDevices::clear()
{
    if (m_adapter) {
        m_adapter->disconnect(this);
        for (const BluezQt::DevicePtr& device : m_adapter->devices()) {
            device->disconnect(this);
        }
        m_adapter.clear();
    }
    while (!m_list.entries.isEmpty()) {
        forget(m_list.entries.last().address);
    }
}

void KnownDevices::watch(const BluezQt::DevicePtr& device)
{
    const BluezQt::Device* known = device.data();
    const auto again = [this, known] {
        refresh(known->toSharedPtr());
    };
    connect(device.data(), &BluezQt::Device::pairedChanged, this, again);
    connect(device.data(), &BluezQt::Device::connectedChanged, this, again);
    connect(device.data(), &BluezQt::Device::uuidsChanged, this, again);
    connect(device.data(), &BluezQt::Device::typeChanged, this, again);
    connect(device.data(), &BluezQt::Device::remoteNameChanged, this, again);
    refresh(device);
}

void KnownDevices::refresh(const BluezQt::DevicePtr& device)
{
    const qulonglong address = addressOf(device);
    if (!device->isPaired()) {
        forget(address);
        return;
    }
    int row = rowOf(address);
    if (row < 0) {
        row = m_devices.size();
        m_devices.append(device);
        m_list.entries.append(PairEntry());
    }
    const PairEntry before = m_list.entries.at(row);
    m_list.entries[row] = entryOf(device);
    if (m_list.entries.at(row) != before) {
        Q_EMIT listChanged(m_list);
        announce(address, before.connectionState, m_list.entries.at(row).connectionState);
    }
}

void KnownDevices::forget(qulonglong address)
{
    const int row = rowOf(address);
    if (row < 0) {
        return;
    }
    const unsigned before = m_list.entries.at(row).connectionState;
    m_devices.removeAt(row);
    m_list.entries.removeAt(row);
    Q_EMIT listChanged(m_list);
    announce(address, before, NotConnected);
}

void KnownDevices::announce(qulonglong address, unsigned before, unsigned now)
{
    if (before == NotConnected && now != NotConnected) {
        Q_EMIT connectionEstablished(address);
    }
    if ((before & Headset) == 0 && (now & Headset) != 0) {
        Q_EMIT headsetConnected(address);
    }
    if (before != NotConnected && now == NotConnected) {
        Q_EMIT deviceDisconnected(address);
    }
}

int KnownDevices::rowOf(qulonglong address) const
{
    const auto& entries = m_list.entries;
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [address](const PairEntry& entry) { return entry.address == address; });
    return found == entries.end() ? -1 : static_cast<int>(found - entries.begin());
}

BluezQt::DevicePtr KnownDevices::find(qulonglong address) const
{
    return m_devices.value(rowOf(address));
}

QList<BluezQt::DevicePtr> KnownDevices::connected(unsigned bits) const
{
    QList<BluezQt::DevicePtr> found;
    for (int row = 0; row < m_devices.size(); ++row) {
        if ((m_list.entries.at(row).connectionState & bits) != 0) {
            found << m_devices.at(row);
        }
    }
    return found;
}

} // namespace bt

#include "BondedDevices.h"

#include "AddressHelper.h"
#include "DeviceNames.h"
#include "DeviceServices.h"
#include "RadioTypes.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace bt {

namespace {

qulonglong addressOf(const BluezQt::DevicePtr& device)
{
    return AddressHelper::str2int(device->address());
}

PairEntry entryOf(const BluezQt::DevicePtr& device)
{
    return { addressOf(device), nameOf(*device),
             device->isConnected() ? connectionBits(device->uuids(), device->type(), playsThrough(*device))
                                   : static_cast<unsigned>(NotConnected) };
}

} // namespace

void BondedDevices::follow(const BluezQt::AdapterPtr& adapter)
{
    m_adapter = adapter;
    connect(adapter.data(), &BluezQt::Adapter::deviceAdded, this, &BondedDevices::watch);
    connect(adapter.data(), &BluezQt::Adapter::deviceRemoved, this, [this](const BluezQt::DevicePtr& device) {
        forget(m_devices.indexOf(device));
        for (auto former = m_formerly.begin(); former != m_formerly.end();) {
            former = *former == device ? m_formerly.erase(former) : std::next(former);
        }
    });
    connect(adapter.data(), &BluezQt::Adapter::uuidsChanged, this, [this] { // a sound server comes or goes
        for (const BluezQt::DevicePtr& device : qAsConst(m_devices)) {
            refresh(device);
        }
    });
    QList<BluezQt::DevicePtr> devices = adapter->devices();
    std::sort(devices.begin(), devices.end(),
              [](const auto& left, const auto& right) { return left->address() < right->address(); });
    for (const BluezQt::DevicePtr& device : qAsConst(devices)) {
        watch(device);
    }
}

void BondedDevices::clear()
{
    if (m_adapter) {
        m_adapter->disconnect(this);
        for (const BluezQt::DevicePtr& device : m_adapter->devices()) {
            device->disconnect(this);
        }
        m_adapter.clear();
    }
    while (!m_list.entries.isEmpty()) {
        forget(m_list.entries.size() - 1);
    }
}

void BondedDevices::watch(const BluezQt::DevicePtr& device)
{
    const BluezQt::Device* known = device.data();
    const auto again = [this, known] {
        refresh(known->toSharedPtr());
    };
    connect(device.data(), &BluezQt::Device::addressChanged, this,
            [this, known, before = addressOf(device)](const QString& address) mutable {
                m_formerly.insert(std::exchange(before, AddressHelper::str2int(address)),
                                  known->toSharedPtr());
                refresh(known->toSharedPtr());
            });
    connect(device.data(), &BluezQt::Device::pairedChanged, this, again);
    connect(device.data(), &BluezQt::Device::connectedChanged, this, again);
    connect(device.data(), &BluezQt::Device::uuidsChanged, this, again);
    connect(device.data(), &BluezQt::Device::typeChanged, this, again);
    connect(device.data(), &BluezQt::Device::mediaTransportChanged, this, again);
    connect(device.data(), &BluezQt::Device::remoteNameChanged, this, again);
    refresh(device);
}

void BondedDevices::refresh(const BluezQt::DevicePtr& device)
{
    int row = m_devices.indexOf(device);
    if (!device->isPaired()) {
        forget(row);
        return;
    }
    if (row < 0) {
        row = m_devices.size();
        m_devices.append(device);
        m_list.entries.append(PairEntry());
    }
    const PairEntry before = m_list.entries.at(row);
    m_list.entries[row] = entryOf(device);
    if (m_list.entries.at(row) != before) {
        Q_EMIT listChanged(m_list);
        announce(addressOf(device), before.connectionState, m_list.entries.at(row).connectionState);
    }
}

void BondedDevices::forget(int row)
{
    if (row < 0) {
        return;
    }
    const PairEntry before = m_list.entries.at(row);
    m_devices.removeAt(row);
    m_list.entries.removeAt(row);
    Q_EMIT listChanged(m_list);
    announce(before.address, before.connectionState, NotConnected);
}

void BondedDevices::announce(qulonglong address, unsigned before, unsigned now)
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

BluezQt::DevicePtr BondedDevices::find(qulonglong address) const
{
    const auto found = std::find_if(m_devices.begin(), m_devices.end(),
                                    [address](const auto& device) { return addressOf(device) == address; });
    if (found != m_devices.end()) {
        return *found;
    }
    const BluezQt::DevicePtr former = formerly(address);
    return m_devices.contains(former) ? former : BluezQt::DevicePtr();
}

QList<BluezQt::DevicePtr> BondedDevices::connected(unsigned bits) const
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

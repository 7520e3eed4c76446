#include "Discovery.h"

#include "AddressHelper.h"

#include <chrono>
#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

// bluetoothd looks for low energy and for classic devices by turns, 5.12 s each: about once both.
constexpr auto Length = 10s;
constexpr auto GatheringTime = 320ms;

// bluetoothd leaves the strength out where it is not known, BluezQt puts this in its place.
constexpr qint16 NoStrength = -32768;

} // namespace

Discovery::Discovery(BluezQt::AdapterPtr adapter, DiscoverySwitch& radio, ScanResults before)
    : m_adapter(std::move(adapter))
    , m_radio(radio)
    , m_list(std::move(before))
{
    m_gathering.setSingleShot(true);
    m_gathering.setInterval(GatheringTime);
    connect(&m_gathering, &QTimer::timeout, this, &Discovery::publish);
    m_end.setSingleShot(true);
    m_end.setInterval(Length);
    connect(&m_end, &QTimer::timeout, this, &Discovery::finish);

    const QList<BluezQt::DevicePtr> devices = m_adapter->devices();
    for (const BluezQt::DevicePtr& device : devices) {
        follow(device);
        if (device->rssi() != NoStrength) { // another program is looking around as well
            hear(*device);
        }
    }
    connect(m_adapter.data(), &BluezQt::Adapter::deviceAdded, this, [this](const BluezQt::DevicePtr& device) {
        follow(device);
        hear(*device);
    });
    connect(&m_radio, &DiscoverySwitch::started, &m_end, qOverload<>(&QTimer::start));
    connect(&m_radio, &DiscoverySwitch::refused, this, &Discovery::finish);
    m_radio.set(true);
}

void Discovery::end()
{
    m_gathering.stop();
    m_end.stop();
    m_radio.disconnect(this);
    m_radio.disconnect(&m_end);
    m_adapter->disconnect(this);
    const QList<BluezQt::DevicePtr> devices = m_adapter->devices();
    for (const BluezQt::DevicePtr& device : devices) {
        device->disconnect(this);
    }
    m_radio.set(false);
}

void Discovery::follow(const BluezQt::DevicePtr& device)
{
    const BluezQt::Device* known = device.data();
    connect(known, &BluezQt::Device::rssiChanged, this, [this, known](qint16 strength) {
        if (strength != NoStrength) {
            hear(*known);
        }
    });
    connect(known, &BluezQt::Device::remoteNameChanged, this, [this, known] {
        if (m_heard.contains(AddressHelper::str2int(known->address()))) {
            hear(*known);
        }
    });
}

void Discovery::hear(const BluezQt::Device& device)
{
    const qulonglong address = AddressHelper::str2int(device.address());
    ScanEntry* entry = m_list.entryOf(address);
    if (entry == nullptr) {
        return;
    }
    m_heard.insert(address);
    if (device.rssi() != NoStrength) {
        entry->signalStrength = device.rssi();
    }
    entry->name = device.remoteName().isEmpty() ? entry->name : device.remoteName();
    m_changed = true;
    if (!m_gathering.isActive()) {
        m_gathering.start();
    }
}

void Discovery::publish()
{
    if (std::exchange(m_changed, false)) {
        Q_EMIT resultsChanged();
    }
}

void Discovery::finish()
{
    m_gathering.stop();
    m_changed = m_list.keepOnly(m_heard) || m_changed;
    publish();
    Q_EMIT finished();
}

} // namespace bt

#include "Discovery.h"

#include "AddressHelper.h"
#include "DeviceNames.h"

#include <chrono>
#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

// A round takes 10.24 s, half for low energy and half for classic devices, and up to 5.12 s for each name
// that has to be asked for. It has no end where another program looks for low energy alone.
constexpr auto LongestRound = 30s;
constexpr auto GatheringTime = 320ms;

// bluetoothd leaves the strength out where it is not known, BluezQt puts this in its place.
constexpr qint16 NoStrength = -32768;

} // namespace

Discovery::Discovery(BluezQt::AdapterPtr adapter, DiscoverySwitch& radio, const ScanResults& before)
    : m_adapter(std::move(adapter))
    , m_radio(radio)
    , m_list(before)
{
    m_gathering.setSingleShot(true);
    m_gathering.setInterval(GatheringTime);
    connect(&m_gathering, &QTimer::timeout, this, &Discovery::publish);
    m_end.setSingleShot(true);
    m_end.setInterval(LongestRound);
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
    connect(m_adapter.data(), &BluezQt::Adapter::discoveringChanged, this, &Discovery::followRound);
    connect(&m_radio, &DiscoverySwitch::refused, this, &Discovery::finish);
    m_time.start();
    m_end.start(); // bluetoothd may never answer
    m_radio.set(true);
}

// Where another program looks around already, the round that runs is not ours.
void Discovery::followRound(bool discovering)
{
    if (discovering) {
        m_inRound = true;
    } else if (m_inRound) {
        finish();
    }
}

void Discovery::end()
{
    m_gathering.stop();
    m_end.stop();
    m_radio.disconnect(this);
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
        if (m_list.isHeard(AddressHelper::str2int(known->address()))) {
            hear(*known);
        }
    });
}

void Discovery::hear(const BluezQt::Device& device)
{
    ScanEntry heard;
    heard.address = AddressHelper::str2int(device.address());
    heard.name = nameOf(device);
    if (device.rssi() != NoStrength) {
        heard.signalStrength = device.rssi();
    }
    m_list.hear(heard, device.deviceClass() != 0 || device.appearance() != 0);
    m_changed = true;
    if (!m_gathering.isActive()) {
        m_gathering.start();
    }
}

void Discovery::publish()
{
    if (std::exchange(m_changed, false)) {
        m_list.arrange(std::chrono::milliseconds(m_time.elapsed()));
        Q_EMIT resultsChanged();
    }
}

void Discovery::finish()
{
    m_gathering.stop();
    m_changed = m_list.dropUnheard() || m_changed;
    publish();
    Q_EMIT finished();
}

} // namespace bt

#include "AddressHelper.h"
#include "BluezCall.h"
#include "BluezCause.h"
#include "BluezRadio.h"
#include "DeviceServices.h"
#include "ManagementEvents.h"
#include "Notice.h"

#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

// A page of 5 s for each service that bluetoothd connects, and 40 s for a device of low energy.
constexpr auto ConnectLimit = 60s;

base::Result<> notPaired(qulonglong address)
{
    return base::error(
        QStringLiteral("%1 is not paired; pair with it first").arg(AddressHelper::int2str(address)),
        base::Failure::NotPaired);
}

} // namespace

BluezQt::DevicePtr BluezRadio::deviceOf(qulonglong address) const
{
    const BluezQt::DevicePtr device = m_adapter->deviceForAddress(AddressHelper::int2str(address));
    return device ? device : m_bonded->formerly(address);
}

void BluezRadio::lookAround()
{
    m_discovery = std::make_unique<Discovery>(m_adapter, *m_discoverySwitch, m_scanResults);
    connect(m_discovery.get(), &Discovery::resultsChanged, this, [this] {
        if (isScanning()) {
            m_scanResults = m_discovery->results();
            Q_EMIT scanResultsChanged(m_scanResults);
        }
    });
    connect(m_discovery.get(), &Discovery::finished, this, [this] {
        if (isScanning()) {
            endScan();
        } else {
            endSearch();
            m_pairing->notFound();
        }
    });
}

void BluezRadio::endSearch()
{
    if (!isScanning() && m_discovery) {
        leaveDiscovery();
    }
}

// It may be telling something just now, and is not to tell anything more.
void BluezRadio::leaveDiscovery()
{
    m_discovery->end();
    m_discovery->disconnect(this);
    m_discovery.release()->deleteLater();
}

bool BluezRadio::isPaired(qulonglong address) const
{
    return !m_bonded->find(address).isNull();
}

qulonglong BluezRadio::presentAddress(qulonglong address) const
{
    const BluezQt::DevicePtr device = m_bonded->find(address);
    return device ? AddressHelper::str2int(device->address()) : address;
}

void BluezRadio::startPairing(qulonglong address)
{
    const BluezQt::DevicePtr device = deviceOf(address);
    beginPairing(address);
    m_pairing->begin(device);
    if (!device) { // bluetoothd forgets what it has found half a minute after a scan
        lookAround();
    }
}

void BluezRadio::beginPairing(qulonglong address)
{
    m_pairing = std::make_unique<BluezPairing>(address, m_agent);
    tellOf(*m_pairing);
}

void BluezRadio::takeQuestion(const QString& devicePath, const PairingQuestion& question)
{
    const BluezQt::DevicePtr device = m_choice.device(devicePath);
    const bool pairing = m_pairing && m_pairing->isUnderWay();
    if (!device || (pairing && m_pairing->device() != device)) {
        notice(QStringLiteral("%1 wants to pair and is refused: %2")
                   .arg(device ? device->address() : devicePath,
                        device ? QStringLiteral("another pairing is under way")
                               : QStringLiteral("it is not at our adapter")));
        refuseQuestion(question);
        return;
    }
    if (!pairing) {
        const qulonglong address = AddressHelper::str2int(device->address());
        if (!requireHeard(address, device->address())) {
            refuseQuestion(question);
            return;
        }
        endScan();
        beginPairing(address);
        m_pairing->beginIncoming(device);
    }
    m_pairing->ask(question);
}

void BluezRadio::refuseQuestion(const PairingQuestion& question)
{
    if (!question.onlyShown) {
        m_agent.refuse();
    }
}

base::Result<> BluezRadio::unpair(qulonglong address)
{
    const BluezQt::DevicePtr device = m_bonded ? m_bonded->find(address) : BluezQt::DevicePtr();
    if (!device) {
        return notPaired(address);
    }
    tellBluez({ m_adapter->ubi(),
                AdapterInterface,
                QStringLiteral("RemoveDevice"),
                { QVariant::fromValue(QDBusObjectPath(device->ubi())) } },
              QStringLiteral("unpairing %1").arg(AddressHelper::int2str(address)));
    return {};
}

base::Result<> BluezRadio::connectDevice(qulonglong address)
{
    if (base::Result<> ready = requireOn(); !ready) {
        return ready;
    }
    const BluezQt::DevicePtr device = m_bonded->find(address);
    if (!device) {
        return notPaired(address);
    }
    changeLink(device, QStringLiteral("Connect"));
    return {};
}

base::Result<> BluezRadio::disconnectDevice(qulonglong address)
{
    const BluezQt::DevicePtr device = m_bonded ? m_bonded->find(address) : BluezQt::DevicePtr();
    if (!device) {
        return notPaired(address);
    }
    changeLink(device, QStringLiteral("Disconnect")); // ends a connection that is being made as well
    return {};
}

void BluezRadio::changeLink(const BluezQt::DevicePtr& device, const QString& method)
{
    const bool connects = method == QLatin1String("Connect");
    askBluez({ device->ubi(), DeviceInterface, method, {}, ConnectLimit }, this,
             [this, device, method, connects,
              events = std::make_shared<ManagementEvents>()](const QDBusError& error) {
                 // Without a service that both know, bluetoothd keeps the link and calls it a failure all the
                 // same.
                 const qulonglong address = AddressHelper::str2int(device->address());
                 if (!error.isValid() || (connects && device->isConnected())) {
                     noteConnected(address);
                 } else if (connects) {
                     tellConnectionFailed(address, exactly(error, events->causeOf(address)), detailOf(error));
                 } else {
                     tellFailure(QStringLiteral("Disconnect %1").arg(device->address()), error);
                 }
             });
}

base::Result<> BluezRadio::killIap()
{
    const QList<BluezQt::DevicePtr> devices =
        m_bonded ? m_bonded->connected(Iap) : QList<BluezQt::DevicePtr>();
    for (const BluezQt::DevicePtr& device : devices) {
        tellBluez({ device->ubi(), DeviceInterface, QStringLiteral("DisconnectProfile"), { IapUuid } },
                  QStringLiteral("ending the iOS connection of %1").arg(device->address()));
    }
    return {};
}

} // namespace bt

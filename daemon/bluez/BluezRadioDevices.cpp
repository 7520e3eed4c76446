#include "AddressHelper.h"
#include "BluezCall.h"
#include "BluezRadio.h"
#include "ConnectionBits.h"

#include <QDebug>

#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr qulonglong LargestAddress = 0xFFFFFFFFFFFFULL;
// A page of 5 s for each service that bluetoothd connects, and 40 s for a device of low energy.
constexpr auto ConnectLimit = 60s;

bool isAddress(qulonglong address)
{
    return address != 0 && address <= LargestAddress;
}

Outcome notPaired(qulonglong address)
{
    return Refusal{
        Error::NotPaired,
        QStringLiteral("%1 is not paired; pair with it first").arg(AddressHelper::int2str(address))
    };
}

} // namespace

Outcome BluezRadio::notOn() const
{
    if (m_status == Status::On) {
        return {};
    }
    return Refusal{ Error::NotReady, QStringLiteral("the radio is not on; its status has to be 3") };
}

BluezQt::DevicePtr BluezRadio::deviceOf(qulonglong address) const
{
    return m_adapter->deviceForAddress(AddressHelper::int2str(address));
}

Outcome BluezRadio::scan()
{
    if (Outcome refused = notOn()) {
        return refused;
    }
    if (m_scanning) {
        return Refusal{ Error::InProgress, QStringLiteral("a scan runs already; CancelScan ends it") };
    }
    if (m_pairing && m_pairing->isUnderWay()) {
        return Refusal{ Error::InProgress,
                        QStringLiteral("%1 is being paired; scan when that has ended")
                            .arg(AddressHelper::int2str(m_pairing->address())) };
    }
    lookAround();
    m_scanning = true;
    Q_EMIT scanStateChanged(ScanState::Scanning);
    return {};
}

void BluezRadio::lookAround()
{
    m_discovery = std::make_unique<Discovery>(m_adapter, *m_discoverySwitch, m_scanResults);
    connect(m_discovery.get(), &Discovery::resultsChanged, this, [this] {
        if (m_scanning) {
            m_scanResults = m_discovery->results();
            Q_EMIT scanResultsChanged(m_scanResults);
        }
    });
    connect(m_discovery.get(), &Discovery::finished, this, [this] {
        if (m_scanning) {
            endScan();
        } else {
            endSearch();
            m_pairing->notFound();
        }
    });
}

void BluezRadio::endScan()
{
    if (std::exchange(m_scanning, false)) {
        leaveDiscovery();
        Q_EMIT scanStateChanged(ScanState::Complete);
    }
}

void BluezRadio::endSearch()
{
    if (!m_scanning && m_discovery) {
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

Outcome BluezRadio::cancelScan()
{
    if (!m_scanning) {
        return Refusal{ Error::NothingPending, QStringLiteral("no scan runs") };
    }
    endScan();
    return {};
}

Outcome BluezRadio::pair(qulonglong address)
{
    if (Outcome refused = notOn()) {
        return refused;
    }
    if (!isAddress(address)) {
        return Refusal{
            Error::InvalidArgument,
            QStringLiteral("%1 is no device address; an address is six bytes, not all zero").arg(address)
        };
    }
    if (m_pairing && m_pairing->isUnderWay()) {
        return Refusal{ Error::InProgress,
                        QStringLiteral("%1 is being paired; one pairing at a time")
                            .arg(AddressHelper::int2str(m_pairing->address())) };
    }
    endScan();
    if (!m_known->find(address).isNull()) {
        Q_EMIT pairingChanged({ PairState::Paired, {}, {} });
        return {};
    }
    const BluezQt::DevicePtr device = deviceOf(address);
    beginPairing(address);
    m_pairing->begin(device);
    if (!device) { // bluetoothd forgets what it has found half a minute after a scan
        lookAround();
    }
    return {};
}

void BluezRadio::beginPairing(qulonglong address)
{
    m_pairing = std::make_unique<BluezPairing>(address, m_agent);
    connect(m_pairing.get(), &BluezPairing::progressed, this, &BluezRadio::pairingProgressed);
}

// A paired device may come back by itself, without a question for each service.
void BluezRadio::pairingProgressed()
{
    const PairingProgress progress = m_pairing->progress();
    const BluezQt::DevicePtr& device = m_pairing->device();
    if (progress.state == PairState::Paired && device && !device->isTrusted()) {
        sendToBluez(settingOf(device->ubi(), DeviceInterface, QStringLiteral("Trusted"), true));
    }
    Q_EMIT pairingChanged(progress);
}

void BluezRadio::takeQuestion(const QString& devicePath, const PairingQuestion& question)
{
    const BluezQt::DevicePtr device = m_choice.device(devicePath);
    const bool pairing = m_pairing && m_pairing->isUnderWay();
    if (!device || (pairing && m_pairing->device() != device)) {
        qWarning().noquote() << devicePath << "wants to pair and is refused:"
                             << (device ? "another pairing is under way" : "it is not ours");
        if (!question.onlyShown) {
            m_agent.refuse();
        }
        return;
    }
    if (!pairing) {
        endScan();
        beginPairing(AddressHelper::str2int(device->address()));
        m_pairing->beginIncoming(device);
    }
    m_pairing->ask(question);
}

template <typename Answer>
Outcome BluezRadio::answerPairing(Answer answer)
{
    if (!m_pairing) {
        return Refusal{ Error::NothingPending, QStringLiteral("no pairing waits for an answer") };
    }
    return answer(*m_pairing);
}

Outcome BluezRadio::pinReply(const QString& pin)
{
    return answerPairing([&pin](BluezPairing& pairing) { return pairing.pinReply(pin); });
}

Outcome BluezRadio::pinDecline()
{
    return answerPairing([](BluezPairing& pairing) { return pairing.pinDecline(); });
}

Outcome BluezRadio::confirmCode()
{
    return answerPairing([](BluezPairing& pairing) { return pairing.confirm(); });
}

Outcome BluezRadio::rejectCode()
{
    return answerPairing([](BluezPairing& pairing) { return pairing.reject(); });
}

Outcome BluezRadio::unpair(qulonglong address)
{
    const BluezQt::DevicePtr device = m_known ? m_known->find(address) : BluezQt::DevicePtr();
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

Outcome BluezRadio::connectDevice(qulonglong address)
{
    if (Outcome refused = notOn()) {
        return refused;
    }
    const BluezQt::DevicePtr device = m_known->find(address);
    if (!device) {
        return notPaired(address);
    }
    changeLink(device, QStringLiteral("Connect"));
    return {};
}

Outcome BluezRadio::disconnectDevice(qulonglong address)
{
    const BluezQt::DevicePtr device = m_known ? m_known->find(address) : BluezQt::DevicePtr();
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
             [device, method, connects](const QDBusError& error) {
                 // Without a service that both know, bluetoothd keeps the link and calls it a failure all the
                 // same.
                 if (error.isValid() && !(connects && device->isConnected())) {
                     logFailure(QStringLiteral("%1 %2").arg(method, device->address()), error);
                 }
             });
}

Outcome BluezRadio::killIap()
{
    const QList<BluezQt::DevicePtr> devices = m_known ? m_known->connected(Iap) : QList<BluezQt::DevicePtr>();
    for (const BluezQt::DevicePtr& device : devices) {
        tellBluez({ device->ubi(), DeviceInterface, QStringLiteral("DisconnectProfile"), { IapUuid } },
                  QStringLiteral("ending the iOS connection of %1").arg(device->address()));
    }
    return {};
}

} // namespace bt

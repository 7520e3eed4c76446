#include "SimulatedRadio.h"

#include "AddressHelper.h"
#include "SimulationClock.h"

#include <QDebug>

#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr auto StartTime = 500ms;
constexpr auto StopTime = 200ms;
constexpr qulonglong LargestAddress = 0xFFFFFFFFFFFFULL;

bool isAddress(qulonglong address)
{
    return address != 0 && address <= LargestAddress;
}

Outcome notRegistered(const QString& uuid)
{
    return Refusal{ Error::NotRegistered, QStringLiteral("the UUID \"%1\" is not registered").arg(uuid) };
}

} // namespace

SimulatedRadio::SimulatedRadio(Identity identity, Room room, SimulationClock& clock, quint32 seed)
    : m_identity(std::move(identity))
    , m_room(std::move(room))
    , m_clock(clock)
    , m_random(seed)
    , m_paired(m_room, clock)
{
    connect(&m_paired, &PairedDevices::listChanged, this, &Radio::pairListChanged);
    connect(&m_paired, &PairedDevices::connected, this, &SimulatedRadio::announceConnection);
    connect(&m_paired, &PairedDevices::disconnected, this, &SimulatedRadio::announceDisconnection);
}

SimulatedRadio::~SimulatedRadio() = default;

void SimulatedRadio::start()
{
    Q_EMIT addressChanged(m_identity.address);
    Q_EMIT localNameChanged(m_identity.name);
    Q_EMIT pairListChanged(m_paired.list());
    setPowered(true);
}

void SimulatedRadio::stop()
{
    m_switching.reset();
    silence();
    setStatus(Status::Off);
}

Outcome SimulatedRadio::setPowered(bool on)
{
    const bool goesOn = m_status == Status::On || m_status == Status::Starting;
    if (on == goesOn) {
        return {};
    }
    if (!on) {
        silence();
    }
    setStatus(on ? Status::Starting : Status::Stopping);
    m_switching = std::make_unique<QObject>();
    m_clock.after(on ? StartTime : StopTime, m_switching.get(),
                  [this, on] { setStatus(on ? Status::On : Status::Off); });
    return {};
}

void SimulatedRadio::setStatus(Status status)
{
    m_status = status;
    Q_EMIT statusChanged(status);
}

void SimulatedRadio::silence()
{
    endScan();
    m_pairing.reset();
    Q_EMIT pairingChanged({});
    m_paired.dropAll();
}

Outcome SimulatedRadio::notOn() const
{
    if (m_status == Status::On) {
        return {};
    }
    return Refusal{ Error::NotReady, QStringLiteral("the radio is not on; its status has to be 3") };
}

Outcome SimulatedRadio::setLocalName(const QString& name)
{
    if (name.isEmpty()) {
        return Refusal{ Error::InvalidArgument,
                        QStringLiteral("the local name is empty; it needs a character") };
    }
    m_identity.name = name;
    Q_EMIT localNameChanged(name);
    return {};
}

Outcome SimulatedRadio::scan()
{
    if (Outcome refused = notOn()) {
        return refused;
    }
    if (m_inquiry) {
        return Refusal{ Error::InProgress, QStringLiteral("a scan runs already; CancelScan ends it") };
    }
    if (m_pairing && !isSettled(m_pairing->progress().state)) {
        return Refusal{ Error::InProgress,
                        QStringLiteral("%1 is being paired; scan when that has ended")
                            .arg(AddressHelper::int2str(m_pairing->address())) };
    }
    m_inquiry = std::make_unique<Inquiry>(m_room, m_clock, m_random, m_scanResults);
    connect(m_inquiry.get(), &Inquiry::resultsChanged, this, [this] {
        m_scanResults = m_inquiry->results();
        Q_EMIT scanResultsChanged(m_scanResults);
    });
    // Deleted when its step has returned.
    connect(m_inquiry.get(), &Inquiry::finished, this, [this] {
        m_inquiry.release()->deleteLater();
        Q_EMIT scanStateChanged(ScanState::Complete);
    });
    Q_EMIT scanStateChanged(ScanState::Scanning);
    return {};
}

void SimulatedRadio::endScan()
{
    if (m_inquiry) {
        m_inquiry.reset();
        Q_EMIT scanStateChanged(ScanState::Complete);
    }
}

Outcome SimulatedRadio::cancelScan()
{
    if (!m_inquiry) {
        return Refusal{ Error::NothingPending, QStringLiteral("no scan runs") };
    }
    endScan();
    return {};
}

Outcome SimulatedRadio::pair(qulonglong address)
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
    if (Outcome busy = busyPairing()) {
        return busy;
    }
    endScan();
    if (m_paired.contains(address)) {
        Q_EMIT pairingChanged({ PairState::Paired, {}, {} });
        return {};
    }
    newPairing(address).begin();
    return {};
}

Outcome SimulatedRadio::busyPairing() const
{
    if (!m_pairing || isSettled(m_pairing->progress().state)) {
        return {};
    }
    return Refusal{ Error::InProgress,
                    QStringLiteral("%1 is being paired; one pairing at a time")
                        .arg(AddressHelper::int2str(m_pairing->address())) };
}

Pairing& SimulatedRadio::newPairing(qulonglong address)
{
    m_pairing = std::make_unique<Pairing>(address, m_room, m_clock, m_random);
    connect(m_pairing.get(), &Pairing::progressed, this,
            [this] { Q_EMIT pairingChanged(m_pairing->progress()); });
    connect(m_pairing.get(), &Pairing::succeeded, this,
            [this, address] { m_paired.add(address, m_room.knownName(address)); });
    return *m_pairing;
}

Outcome SimulatedRadio::unpair(qulonglong address)
{
    return m_paired.remove(address);
}

template <typename Answer>
Outcome SimulatedRadio::answerPairing(Answer answer)
{
    if (!m_pairing) {
        return Refusal{ Error::NothingPending, QStringLiteral("no pairing waits for an answer") };
    }
    return answer(*m_pairing);
}

Outcome SimulatedRadio::pinReply(const QString& pin)
{
    return answerPairing([&pin](Pairing& pairing) { return pairing.pinReply(pin); });
}

Outcome SimulatedRadio::pinDecline()
{
    return answerPairing([](Pairing& pairing) { return pairing.pinDecline(); });
}

Outcome SimulatedRadio::confirmCode()
{
    return answerPairing([](Pairing& pairing) { return pairing.confirm(); });
}

Outcome SimulatedRadio::rejectCode()
{
    return answerPairing([](Pairing& pairing) { return pairing.reject(); });
}

Outcome SimulatedRadio::connectDevice(qulonglong address)
{
    if (Outcome refused = notOn()) {
        return refused;
    }
    return m_paired.connectDevice(address);
}

Outcome SimulatedRadio::disconnectDevice(qulonglong address)
{
    return m_paired.disconnectDevice(address);
}

Outcome SimulatedRadio::killIap()
{
    m_paired.disconnectAll(Iap);
    return {};
}

void SimulatedRadio::announceConnection(qulonglong address, const SimulatedDevice& device)
{
    Q_EMIT connectionEstablished(address);
    if ((device.connection & Headset) != 0) {
        Q_EMIT headsetConnected(address);
    }
    if (device.companion) {
        Q_EMIT companionConnected(address);
    }
    if (device.wifed) {
        m_openWifeds.insert(address);
        Q_EMIT wifedSocketOpened(address);
    }
}

void SimulatedRadio::announceDisconnection(qulonglong address)
{
    if (m_openWifeds.remove(address)) {
        Q_EMIT wifedSocketClosed(address);
    }
    Q_EMIT deviceDisconnected(address);
}

Outcome SimulatedRadio::registerRfcommUuid(const QString& uuid)
{
    if (uuid.isEmpty()) {
        return Refusal{ Error::InvalidArgument, QStringLiteral("the UUID is empty") };
    }
    if (m_rfcommUuids.contains(uuid)) {
        return Refusal{ Error::AlreadyRegistered,
                        QStringLiteral("the UUID \"%1\" is registered already").arg(uuid) };
    }
    m_rfcommUuids.insert(uuid);
    return {};
}

Outcome SimulatedRadio::unregisterRfcommUuid(const QString& uuid)
{
    return m_rfcommUuids.remove(uuid) ? Outcome() : notRegistered(uuid);
}

Outcome SimulatedRadio::sendWifedSocket(const QString& text)
{
    qInfo() << "command socket handed on:" << text;
    return {};
}

} // namespace bt

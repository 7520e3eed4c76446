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
base::Result<> notRegistered(const QString& uuid)
{
    return base::error(QStringLiteral("the UUID \"%1\" is not registered").arg(uuid),
                       base::Failure::NotRegistered);
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
    connect(&m_paired, &PairedDevices::connectionFailed, this,
            [this](qulonglong address, Cause cause) { tellConnectionFailed(address, cause); });
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

base::Result<> SimulatedRadio::setPowered(bool on)
{
    if (on == goesOn()) {
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

void SimulatedRadio::silence()
{
    endScan();
    breakOff();
    m_paired.dropAll();
}

void SimulatedRadio::startScan()
{
    m_inquiry = std::make_unique<Inquiry>(m_room, m_clock, m_random, m_scanResults);
    connect(m_inquiry.get(), &Inquiry::resultsChanged, this, [this] {
        m_scanResults = m_inquiry->results();
        Q_EMIT scanResultsChanged(m_scanResults);
    });
    connect(m_inquiry.get(), &Inquiry::finished, this, &SimulatedRadio::endScan);
}

// It may be telling something just now.
void SimulatedRadio::stopScan()
{
    m_inquiry->disconnect(this);
    m_inquiry.release()->deleteLater();
}

QString SimulatedRadio::whyNobody(qulonglong address) const
{
    const QString reason = RadioRules::whyNobody(address);
    return !reason.isEmpty() || m_room.knows(address)
        ? reason
        : QStringLiteral("nobody around has or had the address %1; \"simctl devices\" lists who is there")
              .arg(AddressHelper::int2str(address));
}

std::chrono::milliseconds SimulatedRadio::now() const
{
    return m_clock.now();
}

Pairing& SimulatedRadio::newPairing(qulonglong address)
{
    m_pairing = std::make_unique<Pairing>(address, m_room, m_clock, m_random);
    tellOf(*m_pairing);
    connect(m_pairing.get(), &Pairing::succeeded, this,
            [this, address] { m_paired.add(address, m_room.knownName(address)); });
    return *m_pairing;
}

base::Result<> SimulatedRadio::unpair(qulonglong address)
{
    return m_paired.remove(address);
}

base::Result<> SimulatedRadio::connectDevice(qulonglong address)
{
    if (base::Result<> ready = requireOn(); !ready) {
        return ready;
    }
    return m_paired.connectDevice(address);
}

base::Result<> SimulatedRadio::disconnectDevice(qulonglong address)
{
    return m_paired.disconnectDevice(address);
}

base::Result<> SimulatedRadio::killIap()
{
    m_paired.disconnectAll(Iap);
    return {};
}

void SimulatedRadio::announceConnection(qulonglong address, const SimulatedDevice& device)
{
    noteConnected(address);
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

base::Result<> SimulatedRadio::registerRfcommUuid(const QString& uuid)
{
    if (uuid.isEmpty()) {
        return base::error(QStringLiteral("the UUID is empty"), base::Failure::InvalidArgument);
    }
    if (m_rfcommUuids.contains(uuid)) {
        return base::error(QStringLiteral("the UUID \"%1\" is registered already").arg(uuid),
                           base::Failure::AlreadyRegistered);
    }
    m_rfcommUuids.insert(uuid);
    return {};
}

base::Result<> SimulatedRadio::unregisterRfcommUuid(const QString& uuid)
{
    return m_rfcommUuids.remove(uuid) ? base::Result<>() : notRegistered(uuid);
}

base::Result<> SimulatedRadio::sendWifedSocket(const QString& text)
{
    qInfo() << "command socket handed on:" << text;
    return {};
}

} // namespace bt

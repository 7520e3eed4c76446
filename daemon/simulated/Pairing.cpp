#include "Pairing.h"

#include "AddressHelper.h"
#include "Room.h"
#include "SimulationClock.h"

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr auto PageTime = 800ms;
constexpr auto PageTimeout = 5120ms; // the standard's default
constexpr auto RefusalTime = 900ms;
constexpr auto KeyTime = 600ms;
constexpr auto PatienceWithDevices = 30s; // the standard's
constexpr auto PatienceWithUsers = 60s;
constexpr int CodeDigits = 6;
constexpr int CodeCount = 1000000;

Outcome nothingPending(const QString& question)
{
    return Refusal{ Error::NothingPending, QStringLiteral("no pairing waits for %1").arg(question) };
}

} // namespace

Pairing::Pairing(qulonglong address, Room& room, SimulationClock& clock, QRandomGenerator& random)
    : m_address(address)
    , m_room(room)
    , m_clock(clock)
    , m_random(random)
{
}

QString Pairing::deviceText() const
{
    const QString name = m_room.knownName(m_address);
    return name.isEmpty() ? UnknownName + QStringLiteral(" - ") + AddressHelper::int2str(m_address) : name;
}

void Pairing::begin()
{
    enter(PairState::Outgoing);
    const SimulatedDevice* device = m_room.find(m_address);
    if (device == nullptr || device->answer == SimulatedDevice::Answer::OutOfReach) {
        m_clock.after(PageTimeout, this, [this] { settle(PairState::FailedConnection); });
    } else {
        m_clock.after(PageTime, this, [this] { reached(); });
    }
}

void Pairing::beginIncoming()
{
    m_room.learnName(m_address);
    enter(PairState::Incoming);
    m_clock.after(PageTime, this, [this] { reached(); });
}

void Pairing::reached()
{
    const SimulatedDevice* device = m_room.find(m_address);
    if (device == nullptr) {
        settle(PairState::FailedConnection);
        return;
    }
    m_room.learnName(m_address);
    if (device->answer == SimulatedDevice::Answer::Refuses) {
        enter(PairState::Outgoing);
        m_clock.after(RefusalTime, this, [this] { settle(PairState::FailedAuthentication); });
        return;
    }
    if (device->answer == SimulatedDevice::Answer::Silent) {
        waitForDevice();
        return;
    }
    ask(*device);
}

void Pairing::waitForDevice()
{
    m_waitsForDevice = true;
    enter(m_progress.state); // with its name
    m_clock.after(PatienceWithDevices, this, [this] {
        if (m_waitsForDevice) {
            settle(PairState::FailedAuthentication);
        }
    });
}

Outcome Pairing::deviceAnswers(bool accepts)
{
    if (isSettled(m_progress.state)) {
        return Refusal{
            Error::NothingPending,
            QStringLiteral("no pairing with %1 is under way").arg(AddressHelper::int2str(m_address))
        };
    }
    const SimulatedDevice* device = m_room.find(m_address);
    if (!accepts || device == nullptr) {
        settle(PairState::FailedAuthentication);
    } else if (m_waitsForDevice) {
        m_waitsForDevice = false;
        ask(*device);
    }
    return {};
}

void Pairing::ask(const SimulatedDevice& device)
{
    switch (device.pairing) {
    case SimulatedDevice::Pairing::JustWorks:
        finish(true);
        return;
    case SimulatedDevice::Pairing::Code:
        m_progress.code = !device.code.isEmpty()
            ? device.code
            : QStringLiteral("%1").arg(m_random.bounded(CodeCount), CodeDigits, 10, QLatin1Char('0'));
        enter(PairState::NeedConfirmation);
        break;
    case SimulatedDevice::Pairing::SimpleConfirmation:
        enter(PairState::NeedSimpleConfirmation);
        break;
    case SimulatedDevice::Pairing::Pin:
        enter(PairState::PinNeeded);
        break;
    }
    m_clock.after(m_clock.forPeople(PatienceWithUsers), this, [this] { giveUpOnUser(); });
}

void Pairing::giveUpOnUser()
{
    switch (m_progress.state) {
    case PairState::PinNeeded:
    case PairState::NeedConfirmation:
    case PairState::NeedSimpleConfirmation:
        settle(PairState::FailedAuthentication);
        break;
    default:
        break;
    }
}

Outcome Pairing::pinReply(const QString& pin)
{
    if (m_progress.state != PairState::PinNeeded) {
        return nothingPending(QStringLiteral("a PIN"));
    }
    const SimulatedDevice* device = m_room.find(m_address);
    finish(device != nullptr && !device->pin.isEmpty() && device->pin == pin);
    return {};
}

Outcome Pairing::pinDecline()
{
    if (m_progress.state != PairState::PinNeeded) {
        return nothingPending(QStringLiteral("a PIN"));
    }
    settle(PairState::Failed);
    return {};
}

Outcome Pairing::confirm()
{
    if (m_progress.state != PairState::NeedConfirmation
        && m_progress.state != PairState::NeedSimpleConfirmation) {
        return nothingPending(QStringLiteral("a confirmation"));
    }
    finish(true);
    return {};
}

Outcome Pairing::reject()
{
    if (m_progress.state != PairState::NeedConfirmation
        && m_progress.state != PairState::NeedSimpleConfirmation) {
        return nothingPending(QStringLiteral("a confirmation"));
    }
    settle(PairState::Failed);
    return {};
}

void Pairing::finish(bool accepted)
{
    m_progress.code.clear();
    enter(PairState::Finishing);
    m_clock.after(KeyTime, this, [this, accepted] {
        settle(accepted ? PairState::Paired : PairState::FailedAuthentication);
    });
}

void Pairing::settle(PairState state)
{
    if (m_progress.state >= PairState::Paired) {
        return; // the other side was faster
    }
    m_waitsForDevice = false;
    if (state == PairState::Paired) {
        Q_EMIT succeeded();
    }
    m_progress = PairingProgress{ state, QString(), QString() };
    Q_EMIT progressed();
}

void Pairing::enter(PairState state)
{
    m_progress.state = state;
    m_progress.device = deviceText();
    Q_EMIT progressed();
}

} // namespace bt

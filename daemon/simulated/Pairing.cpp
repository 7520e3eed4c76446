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

} // namespace

Pairing::Pairing(qulonglong address, Room& room, SimulationClock& clock, QRandomGenerator& random)
    : PairingAttempt(address)
    , m_room(room)
    , m_clock(clock)
    , m_random(random)
{
}

QString Pairing::deviceName() const
{
    return m_room.knownName(address());
}

void Pairing::begin()
{
    enter(PairState::Outgoing);
    const SimulatedDevice* device = m_room.find(address());
    if (device == nullptr || device->answer == SimulatedDevice::Answer::OutOfReach) {
        m_clock.after(PageTimeout, this, [this] { fail(Cause::OutOfRange); });
    } else {
        m_clock.after(PageTime, this, [this] { reached(); });
    }
}

void Pairing::beginIncoming()
{
    setIncoming();
    m_room.learnName(address());
    enter(PairState::Incoming);
    m_clock.after(PageTime, this, [this] { reached(); });
}

void Pairing::reached()
{
    const SimulatedDevice* device = m_room.find(address());
    if (device == nullptr) {
        fail(Cause::OutOfRange);
        return;
    }
    m_room.learnName(address());
    if (device->answer == SimulatedDevice::Answer::Refuses) {
        enter(PairState::Outgoing);
        m_clock.after(RefusalTime, this, [this] { fail(Cause::RefusedThere); });
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
    enter(progress().state); // with its name
    m_clock.after(PatienceWithDevices, this, [this] {
        if (m_waitsForDevice) {
            fail(Cause::NoAnswerThere);
        }
    });
}

base::Result<> Pairing::deviceAnswers(bool accepts)
{
    if (!isUnderWay()) {
        return base::error(
            QStringLiteral("no pairing with %1 is under way").arg(AddressHelper::int2str(address())),
            base::Failure::NothingPending);
    }
    const SimulatedDevice* device = m_room.find(address());
    if (!accepts || device == nullptr) {
        fail(Cause::RefusedThere);
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
        setCode(!device.code.isEmpty() ? device.code
                                       : QStringLiteral("%1").arg(m_random.bounded(CodeCount), CodeDigits, 10,
                                                                  QLatin1Char('0')));
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
    switch (progress().state) {
    case PairState::PinNeeded:
    case PairState::NeedConfirmation:
    case PairState::NeedSimpleConfirmation:
        fail(Cause::NoAnswerHere);
        break;
    default:
        break;
    }
}

base::Result<> Pairing::takePin(const QString& pin)
{
    const SimulatedDevice* device = m_room.find(address());
    finish(device != nullptr && !device->pin.isEmpty() && device->pin == pin);
    return {};
}

void Pairing::finish(bool accepted)
{
    setCode({});
    enter(PairState::Finishing);
    m_clock.after(KeyTime, this, [this, accepted] {
        if (!isUnderWay()) {
            return; // the other side was faster
        }
        if (m_room.find(address()) == nullptr) {
            fail(Cause::LinkLost);
            return;
        }
        if (!accepted) {
            fail(Cause::WrongPin);
            return;
        }
        Q_EMIT succeeded();
        enter(PairState::Paired);
    });
}

} // namespace bt

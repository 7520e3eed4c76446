#include "BluezPairing.h"

#include "AddressHelper.h"
#include "BluezCall.h"
#include "BluezCause.h"
#include "DeviceNames.h"

#include <chrono>

namespace bt {

namespace {

using namespace std::chrono_literals;

// bluetoothd pages the device for up to 40 s, waits 60 s for its agent, exchanges keys and looks at services.
constexpr auto PairLimit = 180s;
constexpr auto IncomingLimit = 30s;
// bluetoothd calls a device paired once it has looked at its services, be it in vain.
constexpr auto LastWordTime = 2s;

} // namespace

BluezPairing::BluezPairing(qulonglong address, PairingAgent& agent)
    : PairingAttempt(address)
    , m_agent(agent)
{
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, &BluezPairing::endIncoming);
    connect(this, &PairingAttempt::progressed, this, [this] {
        if (!isUnderWay()) {
            m_deadline.stop();
        }
    });
}

QString BluezPairing::deviceName() const
{
    return m_device ? nameOf(*m_device) : QString();
}

void BluezPairing::begin(const BluezQt::DevicePtr& device)
{
    enter(PairState::Outgoing);
    if (device) {
        found(device);
    }
}

void BluezPairing::found(const BluezQt::DevicePtr& device)
{
    adopt(device);
    enter(PairState::Outgoing); // its name may be known now
    m_events.emplace();
    askBluez({ m_device->ubi(), DeviceInterface, QStringLiteral("Pair"), {}, PairLimit }, this,
             [this](const QDBusError& error) { pairAnswered(error); });
}

void BluezPairing::notFound()
{
    fail(Cause::OutOfRange);
}

void BluezPairing::beginIncoming(const BluezQt::DevicePtr& device)
{
    setIncoming();
    m_events.emplace();
    adopt(device);
    enter(PairState::Incoming);
}

void BluezPairing::adopt(const BluezQt::DevicePtr& device)
{
    m_device = device;
    connect(device.data(), &BluezQt::Device::remoteNameChanged, this, [this] {
        if (isUnderWay()) {
            enter(progress().state);
        }
    });
    connect(device.data(), &BluezQt::Device::pairedChanged, this, [this](bool paired) {
        if (paired && isIncoming()) {
            succeed();
        } else if (paired && isUnderWay()) {
            finish(); // what follows is a look at the device's services
        }
    });
    connect(device.data(), &BluezQt::Device::connectedChanged, this, [this](bool connected) {
        if (!connected && isIncoming() && isUnderWay()) {
            m_deadline.start(LastWordTime);
        }
    });
    connect(device.data(), &BluezQt::Device::deviceRemoved, this, [this] { endIncoming(); });
}

void BluezPairing::pairAnswered(const QDBusError& error)
{
    if (error.type() == QDBusError::NoReply) { // it may still pair, when nobody reckons with it any more
        tellDevice(QStringLiteral("CancelPairing"));
    }
    // What went wrong after the exchange of keys leaves a device paired.
    if (!error.isValid() || m_device->isPaired() || isBluezError(error, "AlreadyExists")) {
        succeed();
    } else if (isRefused()) {
        fail(Cause::RefusedHere);
    } else {
        // The state goes by what everybody hears.
        fail(causeOf(error), causeText(exactly(error, m_events->causeOf(address())), detailOf(error)));
    }
}

void BluezPairing::endIncoming()
{
    if (!isIncoming()) {
        return;
    }
    if (m_device->isPaired()) {
        succeed();
    } else {
        const Cause heard = Cause::NoCommonKey;
        fail(heard, causeText(m_events->causeOf(address()).value_or(heard)));
    }
}

void BluezPairing::ask(const PairingQuestion& question)
{
    setCode(question.code);
    m_codeOnlyShown = question.onlyShown;
    enter(question.state);
}

void BluezPairing::questionCancelled()
{
    if (!isUnderWay()) {
        return;
    }
    setCode({});
    if (isIncoming()) {
        fail(Cause::RefusedThere);
    } else {
        enter(PairState::Finishing); // the answer to Pair() tells why
    }
}

base::Result<> BluezPairing::takePin(const QString& pin)
{
    return m_agent.replyPin(pin).map([this] { finish(); });
}

void BluezPairing::takeConsent()
{
    m_agent.confirm();
    finish(m_codeOnlyShown ? progress().code : QString()); // it may have to be typed still
}

void BluezPairing::finish(const QString& code)
{
    setCode(code);
    enter(PairState::Finishing);
    if (isIncoming()) {
        m_deadline.start(IncomingLimit);
    }
}

void BluezPairing::takeRefusal()
{
    if (!m_codeOnlyShown) {
        m_agent.refuse();
    } else { // CancelPairing is for those who have called Pair
        tellDevice(isIncoming() ? QStringLiteral("Disconnect") : QStringLiteral("CancelPairing"));
    }
    if (isIncoming()) {
        fail(Cause::RefusedHere);
    } // otherwise the answer to Pair() settles it: until then bluetoothd would take no other pairing
}

void BluezPairing::tellDevice(const QString& method)
{
    sendToBluez({ m_device->ubi(), DeviceInterface, method, {} });
}

void BluezPairing::succeed()
{
    if (isUnderWay()) {
        enter(PairState::Paired);
    }
}

} // namespace bt

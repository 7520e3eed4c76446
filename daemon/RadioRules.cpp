#include "RadioRules.h"

#include "AddressHelper.h"
#include "Notice.h"

#include <utility>

namespace bt {

namespace {

constexpr qulonglong LargestAddress = 0xFFFFFFFFFFFFULL;

base::Result<> noPairing()
{
    return base::error(QStringLiteral("no pairing waits for an answer"), base::Failure::NothingPending);
}

} // namespace

void RadioRules::setStatus(Status status)
{
    m_status = status;
    Q_EMIT statusChanged(status);
}

bool RadioRules::goesOn() const
{
    return m_status == Status::On || m_status == Status::Starting;
}

QString RadioRules::whyNotOn() const
{
    switch (m_status) {
    case Status::Starting:
        return QStringLiteral("the radio is just coming on; its status has to be On");
    case Status::Stopping:
        return QStringLiteral("the radio is just going off");
    case Status::NoDevice:
        return QStringLiteral("there is no radio");
    default:
        return QStringLiteral("the radio is off; switching \"enabled\" off and on again switches it on");
    }
}

base::Result<> RadioRules::requireOn() const
{
    if (m_status == Status::On) {
        return {};
    }
    return base::error(whyNotOn(), base::Failure::NotReady);
}

base::Result<> RadioRules::requireNoPairing(const QString& instead) const
{
    const PairingAttempt* pairing = attempt();
    if (pairing == nullptr || !pairing->isUnderWay()) {
        return {};
    }
    return base::error(
        QStringLiteral("%1 is being paired; %2").arg(AddressHelper::int2str(pairing->address()), instead),
        base::Failure::InProgress);
}

base::Result<> RadioRules::setLocalName(const QString& name)
{
    if (name.isEmpty()) {
        return base::error(QStringLiteral("the local name is empty; it needs a character"),
                           base::Failure::InvalidArgument);
    }
    takeName(name);
    Q_EMIT localNameChanged(name);
    return {};
}

base::Result<> RadioRules::scan()
{
    if (base::Result<> ready = requireOn(); !ready) {
        return ready;
    }
    if (m_scanning) {
        return base::error(QStringLiteral("a scan runs already; CancelScan ends it"),
                           base::Failure::InProgress);
    }
    if (base::Result<> idle = requireNoPairing(QStringLiteral("scan when that has ended")); !idle) {
        return idle;
    }
    m_scanning = true;
    startScan();
    Q_EMIT scanStateChanged(ScanState::Scanning);
    return {};
}

void RadioRules::endScan()
{
    if (std::exchange(m_scanning, false)) {
        stopScan();
        Q_EMIT scanStateChanged(ScanState::Complete);
    }
}

base::Result<> RadioRules::cancelScan()
{
    if (!m_scanning) {
        return base::error(QStringLiteral("no scan runs"), base::Failure::NothingPending);
    }
    endScan();
    return {};
}

base::Result<> RadioRules::pair(qulonglong address)
{
    if (base::Result<> ready = requireOn(); !ready) {
        return ready;
    }
    makeWayFor(address);
    if (base::Result<> idle = requireNoPairing(QStringLiteral("one pairing at a time")); !idle) {
        return idle;
    }
    if (isPaired(address) && m_forgetful.contains(presentAddress(address))) {
        return base::error(causeText(Cause::ForgotUs));
    }
    m_refused.forgive(address);
    endScan();
    if (isPaired(address)) {
        Q_EMIT pairingChanged({ PairState::Paired, {}, {} });
    } else if (const QString reason = whyNobody(address); !reason.isEmpty()) {
        Q_EMIT failed(QStringLiteral("Pair failed: %1").arg(reason));
        Q_EMIT pairingChanged({ PairState::Outgoing, unknownDevice(AddressHelper::int2str(address)), {} });
        Q_EMIT pairingChanged({ PairState::FailedConnection, {}, {} });
    } else {
        startPairing(address);
    }
    return {};
}

void RadioRules::makeWayFor(qulonglong address)
{
    PairingAttempt* pairing = attempt();
    if (pairing != nullptr && pairing->isUnderWay() && pairing->isIncoming() && !pairing->isWanted()
        && pairing->address() != address) {
        pairing->refuse();
    }
}

base::Result<> RadioRules::requireHeard(qulonglong address, const QString& name)
{
    if (!m_refused.hears(address, now())) {
        return base::error(
            QStringLiteral("%1 was refused again and again and is not heard for a while; pairing with it "
                           "from here works")
                .arg(name));
    }
    if (const int unheard = m_refused.takeUnheard(address); unheard > 0) {
        notice(QStringLiteral("%1 has asked to pair %2 times while it was not heard").arg(name).arg(unheard));
    }
    return {};
}

void RadioRules::tellOf(const PairingAttempt& pairing)
{
    connect(&pairing, &PairingAttempt::progressed, this, [this, &pairing] {
        noteOutcome(pairing);
        Q_EMIT pairingChanged(pairing.progress());
    });
}

void RadioRules::noteOutcome(const PairingAttempt& pairing)
{
    const PairState state = pairing.progress().state;
    if (!pairing.failure().isEmpty()) {
        Q_EMIT failed(
            QStringLiteral("pairing with %1 failed: %2").arg(pairing.shownDevice(), pairing.failure()));
    }
    if (state == PairState::Paired) {
        m_forgetful.remove(pairing.address());
        m_refused.forgive(pairing.address());
        return;
    }
    if (!isSettled(state) || !pairing.isIncoming() || pairing.isWanted()) {
        return;
    }
    const auto silence = m_refused.refuse(pairing.address(), now());
    if (silence.count() > 0) {
        notice(QStringLiteral("%1 was refused again; it is not heard for %2 s")
                   .arg(AddressHelper::int2str(pairing.address()))
                   .arg(silence.count() / 1000));
    }
}

void RadioRules::breakOff()
{
    const PairingAttempt* pairing = attempt();
    if (pairing != nullptr && pairing->isUnderWay()) {
        Q_EMIT failed(QStringLiteral("pairing with %1 failed: %2")
                          .arg(pairing->shownDevice(), causeText(Cause::RadioGone)));
    }
    dropAttempt();
    Q_EMIT pairingChanged({});
}

void RadioRules::tellConnectionFailed(qulonglong address, Cause cause, const QString& detail)
{
    if (cause == Cause::ForgotUs) {
        m_forgetful.insert(address);
    }
    Q_EMIT failed(QStringLiteral("connecting with %1 failed: %2")
                      .arg(AddressHelper::int2str(address), causeText(cause, detail)));
}

QString RadioRules::whyNobody(qulonglong address) const
{
    return address != 0 && address <= LargestAddress
        ? QString()
        : QStringLiteral(
              "no device can have the address %1; it is six bytes in hexadecimal, not all zero, like "
              "00:11:22:33:44:55")
              .arg(address == 0 ? AddressHelper::int2str(0) : QStringLiteral("0x%1").arg(address, 0, 16));
}

base::Result<> RadioRules::answer(base::Result<> (PairingAttempt::*how)())
{
    PairingAttempt* pairing = attempt();
    return pairing != nullptr ? (pairing->*how)() : noPairing();
}

base::Result<> RadioRules::pinReply(const QString& pin)
{
    PairingAttempt* pairing = attempt();
    return pairing != nullptr ? pairing->pinReply(pin) : noPairing();
}

base::Result<> RadioRules::pinDecline()
{
    return answer(&PairingAttempt::pinDecline);
}

base::Result<> RadioRules::confirmCode()
{
    return answer(&PairingAttempt::confirm);
}

base::Result<> RadioRules::rejectCode()
{
    return answer(&PairingAttempt::reject);
}

} // namespace bt

#include "RadioGate.h"

#include "AddressHelper.h"

#include <utility>

namespace bt {

namespace {

constexpr qulonglong LargestAddress = 0xFFFFFFFFFFFFULL;

Outcome noPairing()
{
    return Refusal{ Error::NothingPending, QStringLiteral("no pairing waits for an answer") };
}

} // namespace

void RadioGate::setStatus(Status status)
{
    m_status = status;
    Q_EMIT statusChanged(status);
}

bool RadioGate::goesOn() const
{
    return m_status == Status::On || m_status == Status::Starting;
}

Outcome RadioGate::notOn() const
{
    if (m_status == Status::On) {
        return {};
    }
    return Refusal{ Error::NotReady, QStringLiteral("the radio is not on; its status has to be 3") };
}

Outcome RadioGate::busyPairing(const QString& instead) const
{
    const PairingAttempt* pairing = attempt();
    if (pairing == nullptr || !pairing->isUnderWay()) {
        return {};
    }
    return Refusal{
        Error::InProgress,
        QStringLiteral("%1 is being paired; %2").arg(AddressHelper::int2str(pairing->address()), instead)
    };
}

Outcome RadioGate::setLocalName(const QString& name)
{
    if (name.isEmpty()) {
        return Refusal{ Error::InvalidArgument,
                        QStringLiteral("the local name is empty; it needs a character") };
    }
    takeName(name);
    Q_EMIT localNameChanged(name);
    return {};
}

Outcome RadioGate::scan()
{
    if (Outcome refused = notOn()) {
        return refused;
    }
    if (m_scanning) {
        return Refusal{ Error::InProgress, QStringLiteral("a scan runs already; CancelScan ends it") };
    }
    if (Outcome busy = busyPairing(QStringLiteral("scan when that has ended"))) {
        return busy;
    }
    m_scanning = true;
    startScan();
    Q_EMIT scanStateChanged(ScanState::Scanning);
    return {};
}

void RadioGate::endScan()
{
    if (std::exchange(m_scanning, false)) {
        stopScan();
        Q_EMIT scanStateChanged(ScanState::Complete);
    }
}

Outcome RadioGate::cancelScan()
{
    if (!m_scanning) {
        return Refusal{ Error::NothingPending, QStringLiteral("no scan runs") };
    }
    endScan();
    return {};
}

Outcome RadioGate::pair(qulonglong address)
{
    if (Outcome refused = notOn()) {
        return refused;
    }
    if (address == 0 || address > LargestAddress) {
        return Refusal{
            Error::InvalidArgument,
            QStringLiteral("%1 is no device address; an address is six bytes, not all zero").arg(address)
        };
    }
    if (Outcome busy = busyPairing(QStringLiteral("one pairing at a time"))) {
        return busy;
    }
    endScan();
    if (isPaired(address)) {
        Q_EMIT pairingChanged({ PairState::Paired, {}, {} });
    } else {
        startPairing(address);
    }
    return {};
}

Outcome RadioGate::answer(Outcome (PairingAttempt::*how)())
{
    PairingAttempt* pairing = attempt();
    return pairing != nullptr ? (pairing->*how)() : noPairing();
}

Outcome RadioGate::pinReply(const QString& pin)
{
    PairingAttempt* pairing = attempt();
    return pairing != nullptr ? pairing->pinReply(pin) : noPairing();
}

Outcome RadioGate::pinDecline()
{
    return answer(&PairingAttempt::pinDecline);
}

Outcome RadioGate::confirmCode()
{
    return answer(&PairingAttempt::confirm);
}

Outcome RadioGate::rejectCode()
{
    return answer(&PairingAttempt::reject);
}

} // namespace bt

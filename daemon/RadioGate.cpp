#include "RadioGate.h"

#include "AddressHelper.h"
#include "Notice.h"

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

QString RadioGate::whyNotOn() const
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

Outcome RadioGate::notOn() const
{
    if (m_status == Status::On) {
        return {};
    }
    return Refusal{ Error::NotReady, whyNotOn() };
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
    if (Outcome busy = busyPairing(QStringLiteral("one pairing at a time"))) {
        return busy;
    }
    endScan();
    if (isPaired(address)) {
        Q_EMIT pairingChanged({ PairState::Paired, {}, {} });
    } else if (const QString reason = whyNobody(address); !reason.isEmpty()) {
        notice(QStringLiteral("Pair failed: %1").arg(reason));
        Q_EMIT pairingChanged({ PairState::Outgoing, unknownDevice(AddressHelper::int2str(address)), {} });
        Q_EMIT pairingChanged({ PairState::FailedConnection, {}, {} });
    } else {
        startPairing(address);
    }
    return {};
}

QString RadioGate::whyNobody(qulonglong address) const
{
    return address != 0 && address <= LargestAddress
        ? QString()
        : QStringLiteral(
              "no device can have the address %1; it is six bytes in hexadecimal, not all zero, like "
              "00:11:22:33:44:55")
              .arg(address == 0 ? AddressHelper::int2str(0) : QStringLiteral("0x%1").arg(address, 0, 16));
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

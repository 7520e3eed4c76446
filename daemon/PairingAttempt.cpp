#include "PairingAttempt.h"

#include "AddressHelper.h"

namespace bt {

base::Result<> PairingAttempt::nothingPending(const QString& question) const
{
    const QString fits = waitsForPin()
        ? QStringLiteral("; the one under way waits for a PIN, PINreply or PINdecline")
        : waitsForConfirmation()
        ? QStringLiteral("; the one under way waits for a confirmation, ConfirmCode or RejectCode")
        : QString();
    return base::error(QStringLiteral("no pairing waits for %1%2").arg(question, fits),
                       base::Failure::NothingPending);
}

bool PairingAttempt::waitsForPin() const
{
    return !m_refused && m_progress.state == PairState::PinNeeded;
}

bool PairingAttempt::waitsForConfirmation() const
{
    return !m_refused
        && (m_progress.state == PairState::NeedConfirmation
            || m_progress.state == PairState::NeedSimpleConfirmation);
}

base::Result<> PairingAttempt::pinReply(const QString& pin)
{
    if (!waitsForPin()) {
        return nothingPending(QStringLiteral("a PIN"));
    }
    return takePin(pin).map([this] { m_wanted = true; });
}

base::Result<> PairingAttempt::pinDecline()
{
    if (!waitsForPin()) {
        return nothingPending(QStringLiteral("a PIN"));
    }
    refuse();
    return {};
}

base::Result<> PairingAttempt::confirm()
{
    if (!waitsForConfirmation()) {
        return nothingPending(QStringLiteral("a confirmation"));
    }
    m_wanted = true;
    takeConsent();
    return {};
}

base::Result<> PairingAttempt::reject()
{
    if (!waitsForConfirmation()) {
        return nothingPending(QStringLiteral("a confirmation"));
    }
    refuse();
    return {};
}

void PairingAttempt::refuse()
{
    m_refused = true;
    takeRefusal();
}

void PairingAttempt::fail(Cause cause, const QString& text)
{
    if (isUnderWay()) {
        m_failure = text;
        enter(wordsOf(cause).end);
    }
}

QString PairingAttempt::shownDevice() const
{
    const QString address = AddressHelper::int2str(m_address);
    const QString name = deviceName();
    return name.isEmpty() ? address : QStringLiteral("%1 (%2)").arg(name, address);
}

QString PairingAttempt::failure() const
{
    return m_failure;
}

void PairingAttempt::enter(PairState state)
{
    m_progress.state = state;
    if (isSettled(state)) {
        m_progress.device.clear();
        m_progress.code.clear();
    } else {
        const QString name = deviceName();
        m_progress.device = name.isEmpty() ? unknownDevice(AddressHelper::int2str(m_address)) : name;
    }
    Q_EMIT progressed();
}

} // namespace bt

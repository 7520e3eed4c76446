#pragma once

#include "PairingAttempt.h"
#include "Radio.h"
#include "RefusedDevices.h"
#include "Result.h"

#include <QSet>

namespace bt {

/// The rules that a person meets, the same for every radio; what they let through, the radio behind them
/// does.
///
/// - A request that needs the radio is refused while it is not on.
/// - A scan is refused while one runs or a pairing is under way; a pairing ends a scan.
/// - One pairing at a time; but our user's goes before an unanswered question of another device. Pairing with
/// a device that is paired already succeeds at once; with one that
///   cannot be there it fails at once, as with one that does not answer.
/// - A device that was refused is not heard for a growing time.
class RadioRules : public Radio
{
    Q_OBJECT

public:
    base::Result<> setLocalName(const QString& name) final;
    base::Result<> scan() final;
    base::Result<> cancelScan() final;
    base::Result<> pair(qulonglong address) final;
    base::Result<> pinReply(const QString& pin) final;
    base::Result<> pinDecline() final;
    base::Result<> confirmCode() final;
    base::Result<> rejectCode() final;

protected:
    [[nodiscard]] Status status() const { return m_status; }
    void setStatus(Status status);
    /// On, or about to be.
    [[nodiscard]] bool goesOn() const;

    // What refuses a request, if anything does, with what a person can do about it.
    [[nodiscard]] virtual QString whyNotOn() const;
    [[nodiscard]] base::Result<> requireOn() const;
    [[nodiscard]] base::Result<> requireNoPairing(const QString& instead) const;
    /// Whether the wish of another device to pair is heard now. @param name what a person knows it by
    [[nodiscard]] base::Result<> requireHeard(qulonglong address, const QString& name);

    [[nodiscard]] bool isScanning() const { return m_scanning; }
    /// Why no device can have this address; empty when one may have it.
    [[nodiscard]] virtual QString whyNobody(qulonglong address) const;
    /// Tells that the scan that runs is complete, if one does.
    void endScan();
    /// Tells how a pairing goes on, from here to its end.
    void tellOf(const PairingAttempt& pairing);
    /// The radio falls silent: the pairing that is under way ends with it.
    void breakOff();

    // A paired device that says it knows nothing of the pairing is remembered until one of the two is right.
    void tellConnectionFailed(qulonglong address, Cause cause, const QString& detail = {});
    void noteConnected(qulonglong address) { m_forgetful.remove(address); }

private:
    virtual void takeName(const QString& name) = 0;
    virtual void startScan() = 0;
    virtual void stopScan() = 0;
    [[nodiscard]] virtual bool isPaired(qulonglong address) const = 0;
    /// The address that a paired device has now; a private one may have become another.
    [[nodiscard]] virtual qulonglong presentAddress(qulonglong address) const { return address; }
    virtual void startPairing(qulonglong address) = 0;
    /// The last pairing, settled or not; null before the first one and after the radio went off.
    [[nodiscard]] virtual PairingAttempt* attempt() const = 0;
    virtual void dropAttempt() = 0;

    /// On any clock that goes on.
    [[nodiscard]] virtual std::chrono::milliseconds now() const = 0;
    void makeWayFor(qulonglong address);
    void noteOutcome(const PairingAttempt& pairing);
    base::Result<> answer(base::Result<> (PairingAttempt::*how)());

    Status m_status = Status::NoDevice;
    bool m_scanning = false;
    RefusedDevices m_refused;
    QSet<qulonglong> m_forgetful; ///< paired here, and not there
};

} // namespace bt

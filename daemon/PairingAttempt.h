#pragma once

#include "PairingCause.h"
#include "Result.h"

#include <QObject>

namespace bt {

/// One attempt to pair with a device, from its beginning to a settled state, as its user sees and answers it.
/// Which answer fits is decided here; what comes of it by the radio. Deleting the object breaks it off.
class PairingAttempt : public QObject
{
    Q_OBJECT

public:
    [[nodiscard]] qulonglong address() const { return m_address; }
    [[nodiscard]] const PairingProgress& progress() const { return m_progress; }
    [[nodiscard]] bool isUnderWay() const { return !isSettled(m_progress.state); }
    /// The other side began.
    [[nodiscard]] bool isIncoming() const { return m_incoming; }
    /// Our user has agreed.
    [[nodiscard]] bool isWanted() const { return m_wanted; }

    /// The device's name and address, or the address alone.
    [[nodiscard]] QString shownDevice() const;
    /// Why it has failed, in one line for a person; empty when it has not.
    [[nodiscard]] QString failure() const;

    base::Result<> pinReply(const QString& pin);
    base::Result<> pinDecline();
    base::Result<> confirm();
    base::Result<> reject();
    /// The user does not want it, whatever it waits for.
    void refuse();

Q_SIGNALS:
    void progressed();

protected:
    explicit PairingAttempt(qulonglong address)
        : m_address(address)
    {
    }

    void setIncoming() { m_incoming = true; }
    /// Goes on to a state, or stays in it with a name that has become known. The code stays until a settled
    /// state.
    void enter(PairState state);
    /// Goes on to the settled state that belongs to the cause; nothing when it is settled already.
    void fail(Cause cause) { fail(cause, causeText(cause)); }
    /// \a text is what a person is told.
    void fail(Cause cause, const QString& text);
    void setCode(const QString& code) { m_progress.code = code; }
    /// The user does not want it; there is no other answer after that.
    [[nodiscard]] bool isRefused() const { return m_refused; }

private:
    /// Empty while it is not known.
    [[nodiscard]] virtual QString deviceName() const = 0;
    virtual base::Result<> takePin(const QString& pin) = 0;
    virtual void takeConsent() = 0;
    virtual void takeRefusal() = 0;

    [[nodiscard]] bool waitsForConfirmation() const;
    [[nodiscard]] bool waitsForPin() const;
    [[nodiscard]] base::Result<> nothingPending(const QString& question) const;

    qulonglong m_address;
    PairingProgress m_progress;
    QString m_failure;
    bool m_incoming = false;
    bool m_wanted = false;
    bool m_refused = false;
};

} // namespace bt

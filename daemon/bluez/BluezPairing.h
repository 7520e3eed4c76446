#pragma once

#include "PairingAgent.h"
#include "RadioTypes.h"

#include <BluezQt/Device>

#include <QObject>
#include <QTimer>

namespace bt {

/// One pairing with one device, from its beginning until it is settled. Deleting the object gives it up.
class BluezPairing : public QObject
{
    Q_OBJECT

public:
    /// \a agent has to outlive the pairing.
    BluezPairing(qulonglong address, PairingAgent& agent);

    [[nodiscard]] qulonglong address() const { return m_address; }
    [[nodiscard]] const PairingProgress& progress() const { return m_progress; }
    /// Null while it is looked for.
    [[nodiscard]] const BluezQt::DevicePtr& device() const { return m_device; }
    [[nodiscard]] bool isUnderWay() const { return !isSettled(m_progress.state); }

    /// We want to pair: the state is Outgoing when this returns. Without a device it has to be found first.
    void begin(const BluezQt::DevicePtr& device);
    /// The device was found.
    void found(const BluezQt::DevicePtr& device);
    /// It was not.
    void notFound();
    [[nodiscard]] bool isLooking() const { return isUnderWay() && !m_device; }
    /// The device wants to pair: the state is Incoming when this returns.
    void beginIncoming(const BluezQt::DevicePtr& device);

    void ask(const PairingQuestion& question);
    /// bluetoothd takes its question back.
    void questionCancelled();

    Outcome pinReply(const QString& pin);
    Outcome pinDecline();
    Outcome confirm();
    Outcome reject();

Q_SIGNALS:
    void progressed();

private:
    void adopt(const BluezQt::DevicePtr& device);
    void pairAnswered(const QDBusError& error);
    void endIncoming();
    void finish(const QString& code = {});
    void refuse();
    void tellDevice(const QString& method);
    void settle(PairState state);
    void enter(PairState state);
    [[nodiscard]] bool waitsForConfirmation() const;
    [[nodiscard]] QString deviceText() const;

    qulonglong m_address;
    PairingAgent& m_agent;
    BluezQt::DevicePtr m_device;
    PairingProgress m_progress;
    bool m_incoming = false;
    bool m_codeOnlyShown = false;
    bool m_refusedByUser = false;
    /// bluetoothd tells nobody how a pairing ends that the other side began.
    QTimer m_deadline;
};

} // namespace bt

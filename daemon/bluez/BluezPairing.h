#pragma once

#include "ManagementEvents.h"
#include "PairingAgent.h"
#include "PairingAttempt.h"
#include "Result.h"

#include <BluezQt/Device>

#include <QTimer>

namespace bt {

/// Pairs with a device by bluetoothd.
class BluezPairing : public PairingAttempt
{
    Q_OBJECT

public:
    /// \a agent has to outlive the pairing.
    BluezPairing(qulonglong address, PairingAgent& agent);

    /// Null while it is looked for.
    [[nodiscard]] const BluezQt::DevicePtr& device() const { return m_device; }

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

private:
    [[nodiscard]] QString deviceName() const override;
    base::Result<> takePin(const QString& pin) override;
    void takeConsent() override;
    void takeRefusal() override;

    void adopt(const BluezQt::DevicePtr& device);
    void pairAnswered(const QDBusError& error);
    void endIncoming();
    void finish(const QString& code = {});
    void tellDevice(const QString& method);
    void succeed();

    PairingAgent& m_agent;
    BluezQt::DevicePtr m_device;
    bool m_codeOnlyShown = false;
    /// bluetoothd tells nobody how a pairing ends that the other side began.
    QTimer m_deadline;
    std::optional<ManagementEvents> m_events; ///< since the two spoke to each other
};

} // namespace bt

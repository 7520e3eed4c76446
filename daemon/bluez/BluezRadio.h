#pragma once

#include "AdapterChoice.h"
#include "AdapterSettings.h"
#include "BluezPairing.h"
#include "BondedDevices.h"
#include "Discovery.h"
#include "PairingAgent.h"
#include "RadioRules.h"
#include "Result.h"
#include "RfcommProfiles.h"

#include <QElapsedTimer>
#include <QTimer>

#include <memory>
#include <optional>

namespace bt {

/// This machine's radio, by BlueZ: an adapter of the bluetoothd on BluezBus.
///
/// - Without bluetoothd or adapter the status is NoDevice; the radio comes up by itself when they are there.
/// - A device to pair with that bluetoothd does not know is looked for first.
/// - The outcome of a pairing stays until the next one begins or the radio is switched off.
/// - The adapter's alias, visibility and power are ours while we run and put back by stop().
class BluezRadio : public RadioRules
{
    Q_OBJECT

public:
    /// \a name is what other devices see; \a adapter is an address or "hciN", empty for the lowest. One that
    /// is private keeps its name, and is found by others as it was before.
    BluezRadio(QString name, QString adapter, bool isPrivate);
    ~BluezRadio() override;

    void start() override;
    /// Waits for bluetoothd to put the adapter back, under a second.
    void stop() override;
    base::Result<> setPowered(bool on) override;
    base::Result<> unpair(qulonglong address) override;
    base::Result<> connectDevice(qulonglong address) override;
    base::Result<> disconnectDevice(qulonglong address) override;
    base::Result<> killIap() override;
    base::Result<> registerRfcommUuid(const QString& uuid) override;
    base::Result<> unregisterRfcommUuid(const QString& uuid) override;
    base::Result<> sendWifedSocket(const QString& text) override;

private:
    // What RadioRules has let through.
    void takeName(const QString& name) override;
    void startScan() override { lookAround(); }
    void stopScan() override { leaveDiscovery(); }
    [[nodiscard]] QString whyNotOn() const override;
    [[nodiscard]] bool isPaired(qulonglong address) const override;
    [[nodiscard]] qulonglong presentAddress(qulonglong address) const override;
    void startPairing(qulonglong address) override;
    [[nodiscard]] PairingAttempt* attempt() const override { return m_pairing.get(); }
    void dropAttempt() override { m_pairing.reset(); }
    [[nodiscard]] std::chrono::milliseconds now() const override
    {
        return std::chrono::milliseconds(m_time.elapsed());
    }

    // BluezRadio.cpp: the adapter that is ours
    void useAdapter(const BluezQt::AdapterPtr& adapter);
    void loseAdapter();
    void silence();
    void putBack();

    // BluezRadioPower.cpp: on and off, and what others do with the adapter
    void switchOn();
    void openUp();
    void switchOff();
    void askForPower(bool on);
    void followPower();
    void followAdapter();
    void powerRefused(bool on, const QDBusError& error);

    // BluezRadioDevices.cpp: scan, pair, connect
    void lookAround();
    void leaveDiscovery();
    void beginPairing(qulonglong address);
    void endSearch();
    void refuseQuestion(const PairingQuestion& question);
    void takeQuestion(const QString& devicePath, const PairingQuestion& question);
    void changeLink(const BluezQt::DevicePtr& device, const QString& method);
    [[nodiscard]] BluezQt::DevicePtr deviceOf(qulonglong address) const;

    static constexpr const char* Blocked = "the adapter is blocked; \"rfkill unblock bluetooth\" frees it";

    QString m_name;
    bool m_isPrivate;
    bool m_saidOpen = false;
    AdapterChoice m_choice;
    BluezQt::AdapterPtr m_adapter; ///< null while there is none
    AdapterSettings m_settings;
    PairingAgent m_agent;
    RfcommProfiles m_profiles;
    std::unique_ptr<BondedDevices> m_bonded;
    std::unique_ptr<DiscoverySwitch> m_discoverySwitch; ///< as long as the adapter is there
    std::unique_ptr<Discovery> m_discovery; ///< for a scan, or for a device to pair with
    std::unique_ptr<BluezPairing> m_pairing;
    ScanResults m_scanResults;
    QElapsedTimer m_time;
    QTimer m_busy; ///< bluetoothd is at somebody else's wish for the power
    bool m_wantsOn = false;
    bool m_switching = false; ///< bluetoothd has not answered, and takes no other wish before
    bool m_wasOn = false; ///< at any time
    bool m_wasOpen = false; ///< for other devices, to find and to pair
    bool m_saidWifed = false;
};

} // namespace bt

#pragma once

#include "AdapterChoice.h"
#include "AdapterSettings.h"
#include "BluezPairing.h"
#include "Discovery.h"
#include "KnownDevices.h"
#include "PairingAgent.h"
#include "Radio.h"
#include "RfcommProfiles.h"

#include <memory>
#include <optional>

namespace bt {

/// This machine's radio, by BlueZ: the first adapter of the bluetoothd on QDBusConnection::systemBus().
///
/// - Without bluetoothd or adapter the status is NoDevice; the radio comes up by itself when they are there.
/// - A request that needs the radio is refused while it is not on.
/// - A scan is refused while a pairing is under way; a pairing ends a scan.
/// - Pairing with a device that is paired already succeeds at once; one that bluetoothd does not know is
///   looked for first.
/// - The outcome of a pairing stays until the next one begins or the radio is switched off.
/// - The adapter's alias, visibility and power are ours while we run and put back by stop().
class BluezRadio : public Radio
{
    Q_OBJECT

public:
    /// \a name is what other devices see.
    explicit BluezRadio(QString name);
    ~BluezRadio() override;

    void start() override;
    /// Waits for bluetoothd to put the adapter back, under a second.
    void stop() override;
    Outcome setPowered(bool on) override;
    Outcome setLocalName(const QString& name) override;
    Outcome scan() override;
    Outcome cancelScan() override;
    Outcome pair(qulonglong address) override;
    Outcome unpair(qulonglong address) override;
    Outcome pinReply(const QString& pin) override;
    Outcome pinDecline() override;
    Outcome confirmCode() override;
    Outcome rejectCode() override;
    Outcome connectDevice(qulonglong address) override;
    Outcome disconnectDevice(qulonglong address) override;
    Outcome killIap() override;
    Outcome registerRfcommUuid(const QString& uuid) override;
    Outcome unregisterRfcommUuid(const QString& uuid) override;
    Outcome sendWifedSocket(const QString& text) override;

private:
    // BluezRadio.cpp: the adapter and its power
    void useAdapter(const BluezQt::AdapterPtr& adapter);
    void loseAdapter();
    void switchOn();
    void switchOff();
    void askForPower(bool on);
    void followPower();
    void powerRefused(bool on, const QDBusError& error);
    void silence();
    void setStatus(Status status);
    void putBack();

    // BluezRadioDevices.cpp: scan, pair, connect
    [[nodiscard]] Outcome notOn() const;
    void lookAround();
    void endScan();
    void leaveDiscovery();
    void beginPairing(qulonglong address);
    void endSearch();
    void takeQuestion(const QString& devicePath, const PairingQuestion& question);
    void pairingProgressed();
    void changeLink(const BluezQt::DevicePtr& device, const QString& method);
    [[nodiscard]] BluezQt::DevicePtr deviceOf(qulonglong address) const;
    template <typename Answer>
    Outcome answerPairing(Answer answer);

    QString m_name;
    AdapterChoice m_choice;
    BluezQt::AdapterPtr m_adapter; ///< null while there is none
    AdapterSettings m_settings;
    PairingAgent m_agent;
    RfcommProfiles m_profiles;
    std::unique_ptr<KnownDevices> m_known;
    std::unique_ptr<DiscoverySwitch> m_discoverySwitch; ///< as long as the adapter is there
    std::unique_ptr<Discovery> m_discovery;
    std::unique_ptr<BluezPairing> m_pairing;
    ScanResults m_scanResults;
    Status m_status = Status::NoDevice;
    bool m_wantsOn = false;
    bool m_switching = false; ///< bluetoothd has not answered, and takes no other wish before
    bool m_scanning = false; ///< a discovery also looks for a device to pair with
    bool m_saidWifed = false;
};

} // namespace bt

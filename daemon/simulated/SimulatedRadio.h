#pragma once

#include "Inquiry.h"
#include "PairedDevices.h"
#include "Pairing.h"
#include "RadioRules.h"
#include "Result.h"
#include "Room.h"

#include <QRandomGenerator>
#include <QSet>

#include <memory>

namespace bt {

class SimulationClock;

/// A radio without hardware: it finds, pairs and connects the devices of a room, in the time that real ones
/// take.
///
/// - The outcome of a pairing stays until the next one begins or the radio is switched off.
/// - What is paired stays paired while the radio is off, and with restorePairs() over a restart.
class SimulatedRadio : public RadioRules
{
    Q_OBJECT

public:
    struct Identity
    {
        qulonglong address = 0x0016A4000001;
        QString name;
    };

    /// \a clock has to outlive the radio; \a seed makes codes, order and signal strengths repeatable.
    SimulatedRadio(Identity identity, Room room, SimulationClock& clock, quint32 seed);
    ~SimulatedRadio() override;

    /// Before start(): what was paired in an earlier run. Otherwise the room's own pairings hold.
    void restorePairs(const PairList& list) { m_paired.restore(list); }
    void pairAsInRoom();

    // What the devices do by themselves. Refused when it cannot happen.
    /// It is paired at once when it says so, whether the radio is on or not.
    base::Result<> addDevice(const SimulatedDevice& device);
    /// It goes away, and with it its connection.
    base::Result<> removeDevice(qulonglong address);
    /// It is there again.
    base::Result<> returnDevice(qulonglong address);
    /// Its signal strength goes to another value within a time.
    base::Result<> moveDevice(qulonglong address, int signalStrength, std::chrono::milliseconds duration);
    base::Result<> deviceConnects(qulonglong address);
    base::Result<> deviceDrops(qulonglong address);
    base::Result<> deviceAsksToPair(qulonglong address);
    base::Result<> deviceAnswers(qulonglong address, bool accepts);

    [[nodiscard]] const Room& room() const { return m_room; }
    [[nodiscard]] const PairList& pairs() const { return m_paired.list(); }
    /// Of the pairing that is under way; otherwise its outcome, or idle.
    [[nodiscard]] PairState pairStateOf(qulonglong address) const;

    void start() override;
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
    void takeName(const QString& name) override { m_identity.name = name; }
    void startScan() override;
    void stopScan() override;
    [[nodiscard]] bool isPaired(qulonglong address) const override { return m_paired.contains(address); }
    /// Only the devices of the room can be; also one that is away now.
    [[nodiscard]] QString whyNobody(qulonglong address) const override;
    void startPairing(qulonglong address) override { newPairing(address).begin(); }
    [[nodiscard]] PairingAttempt* attempt() const override { return m_pairing.get(); }
    void dropAttempt() override { m_pairing.reset(); }
    [[nodiscard]] std::chrono::milliseconds now() const override;

    void silence();
    [[nodiscard]] base::Result<> requireThere(qulonglong address) const;
    Pairing& newPairing(qulonglong address);
    void announceConnection(qulonglong address, const SimulatedDevice& device);
    void announceDisconnection(qulonglong address);

    Identity m_identity;
    Room m_room;
    SimulationClock& m_clock;
    QRandomGenerator m_random;
    PairedDevices m_paired;
    ScanResults m_scanResults;
    QSet<QString> m_rfcommUuids;
    QSet<qulonglong> m_openWifeds;
    // What is under way; deleting one of them breaks it off.
    std::unique_ptr<QObject> m_switching;
    std::unique_ptr<Inquiry> m_inquiry;
    std::unique_ptr<Pairing> m_pairing;
};

} // namespace bt

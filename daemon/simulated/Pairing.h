#pragma once

#include "PairingAttempt.h"
#include "Result.h"

#include <QRandomGenerator>

namespace bt {

class Room;
class SimulationClock;
struct SimulatedDevice;

/// Pairs with a device of the room, in the time that this takes.
class Pairing : public PairingAttempt
{
    Q_OBJECT

public:
    Pairing(qulonglong address, Room& room, SimulationClock& clock, QRandomGenerator& random);

    /// Calls the device; the first progress is there when it returns.
    void begin();
    /// The device calls us.
    void beginIncoming();
    /// The person at the device accepts or refuses.
    base::Result<> deviceAnswers(bool accepts);

Q_SIGNALS:
    /// The device is paired; goes before the progress that says so.
    void succeeded();

private:
    [[nodiscard]] QString deviceName() const override;
    base::Result<> takePin(const QString& pin) override;
    void takeConsent() override { finish(true); }
    void takeRefusal() override { fail(Cause::RefusedHere); }
    void reached();
    void waitForDevice();
    void ask(const SimulatedDevice& device);
    void finish(bool accepted);
    void giveUpOnUser();

    Room& m_room;
    SimulationClock& m_clock;
    QRandomGenerator& m_random;
    bool m_waitsForDevice = false;
};

} // namespace bt

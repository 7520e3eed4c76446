#pragma once

#include "RadioTypes.h"

#include <QObject>
#include <QRandomGenerator>

namespace bt {

class Room;
class SimulationClock;
struct SimulatedDevice;

/// One attempt to pair with a device, from the request to a settled state. Deleting the object breaks it off.
class Pairing : public QObject
{
    Q_OBJECT

public:
    Pairing(qulonglong address, Room& room, SimulationClock& clock, QRandomGenerator& random);

    [[nodiscard]] qulonglong address() const { return m_address; }
    [[nodiscard]] const PairingProgress& progress() const { return m_progress; }

    /// Calls the device; the first progress is there when it returns.
    void begin();
    /// The device calls us.
    void beginIncoming();
    /// The person at the device accepts or refuses.
    Outcome deviceAnswers(bool accepts);
    Outcome pinReply(const QString& pin);
    Outcome pinDecline();
    Outcome confirm();
    Outcome reject();

Q_SIGNALS:
    void progressed();
    /// The device is paired; goes before the progress that says so.
    void succeeded();

private:
    void reached();
    void waitForDevice();
    void ask(const SimulatedDevice& device);
    void finish(bool accepted);
    void settle(PairState state);
    void enter(PairState state);
    void giveUpOnUser();
    [[nodiscard]] QString deviceText() const;

    qulonglong m_address;
    Room& m_room;
    SimulationClock& m_clock;
    QRandomGenerator& m_random;
    PairingProgress m_progress;
    bool m_waitsForDevice = false;
};

} // namespace bt

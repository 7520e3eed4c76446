#pragma once

#include "ScanList.h"

#include <QObject>
#include <QRandomGenerator>

namespace bt {

class Room;
class SimulationClock;

/// One look around, 5.12 s of simulated time as the standard's usual inquiry. Devices are found one after
/// another, their names follow, and signal strengths move.
///
/// What an earlier inquiry found goes at the end, unless it was found again. Deleting the object ends it.
class Inquiry : public QObject
{
    Q_OBJECT

public:
    Inquiry(Room& room, SimulationClock& clock, QRandomGenerator& random, const ScanResults& before);

    [[nodiscard]] ScanResults results() const { return m_list.results(); }

Q_SIGNALS:
    /// At most once a step of 320 ms.
    void resultsChanged();
    void finished();

private:
    /// The steps of the inquiry in which things happen to a device.
    struct Schedule
    {
        int found = 0;
        int named = 0;
    };

    void planStep();
    void step();
    void hear(qulonglong address, const Schedule& schedule);

    Room& m_room;
    SimulationClock& m_clock;
    QRandomGenerator& m_random;
    QList<QPair<qulonglong, Schedule>> m_schedules;
    ScanList m_list;
    int m_step = 0;
};

} // namespace bt

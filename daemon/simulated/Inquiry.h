#pragma once

#include "DaemonTypes.h"

#include <QHash>
#include <QObject>
#include <QRandomGenerator>

namespace bt {

class Room;
class SimulationClock;

/// One look around, 5.12 s of simulated time as the standard's usual inquiry. Devices are found one after
/// another, their names follow, and signal strengths move.
///
/// The list keeps its order: what an earlier inquiry found stays where it is and goes at the end, unless it
/// was found again; new devices follow in the order in which they are found. Deleting the object ends the
/// inquiry.
class Inquiry : public QObject
{
    Q_OBJECT

public:
    /// More devices than that are not listed.
    static constexpr int MostResults = 128;

    Inquiry(Room& room, SimulationClock& clock, QRandomGenerator& random, ScanResults before);

    [[nodiscard]] const ScanResults& results() const { return m_results; }

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
    ScanEntry* entryOf(qulonglong address);
    void dropUnheard();

    Room& m_room;
    SimulationClock& m_clock;
    QRandomGenerator& m_random;
    QList<QPair<qulonglong, Schedule>> m_schedules;
    ScanResults m_results;
    QHash<qulonglong, int> m_rows;
    int m_step = 0;
};

} // namespace bt

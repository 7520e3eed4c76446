#pragma once

#include "Scenario.h"

#include <QObject>

namespace bt {

class SimulatedRadio;
class SimulationClock;

/// Lets a scenario's events happen, counted from the first time that the radio is on. An event that cannot
/// happen then, a connection of a device that is not paired, say, is logged and left out.
class Timeline : public QObject
{
public:
    Timeline(std::vector<ScenarioEvent> events, SimulatedRadio& radio, SimulationClock& clock);

private:
    void begin();
    void happen(const ScenarioEvent& event);

    std::vector<ScenarioEvent> m_events;
    SimulatedRadio& m_radio;
    SimulationClock& m_clock;
};

} // namespace bt

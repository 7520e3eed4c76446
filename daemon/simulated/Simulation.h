#pragma once

#include "BusFront.h"
#include "ControlService.h"
#include "PairingStore.h"
#include "PrivateLine.h"
#include "Settings.h"
#include "SimulatedRadio.h"
#include "SimulationClock.h"
#include "Timeline.h"
#include "process/EndingSignals.h"

#include <QObject>
#include <QTimer>

namespace bt {

/// A whole simulated daemon: the radio and who is around it, its place on the system bus, and what drives it.
class Simulation : public QObject
{
    Q_OBJECT

public:
    /// \a name is what other devices see.
    Simulation(const Settings& settings, const Scenario& scenario, const QString& name);

    /// Begins; QCoreApplication::exit() follows at the end, after a message when something went wrong.
    void start();

public Q_SLOTS:
    void busLost();

private:
    void appear();
    void fail(const QString& problem);
    void askedToEnd();
    void end();

    Settings m_settings;
    SimulationClock m_clock;
    SimulatedRadio m_radio;
    Timeline m_timeline;
    PairingStore m_pairings;
    PrivateLine m_line;
    BusFront m_front;
    ControlService m_control;
    process::EndingSignals m_signalsToEnd;
    QTimer m_patience; ///< while SIGTERM is ignored
    bool m_isEnding = false;
};

} // namespace bt

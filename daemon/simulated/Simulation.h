#pragma once

#include "BusFront.h"
#include "ControlService.h"
#include "EndingSignals.h"
#include "LocalDaemon.h"
#include "PairingStore.h"
#include "Replay.h"
#include "Settings.h"
#include "SimulatedRadio.h"
#include "SimulationClock.h"
#include "Timeline.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <variant>

namespace bt {

/// A whole simulated daemon: a radio and who is around it, or a recording; its place on the system bus, and
/// what drives it.
class Simulation : public QObject
{
    Q_OBJECT

public:
    using Content = std::variant<Scenario, recording::RecordedRun>;

    /// \a name is what other devices see.
    Simulation(const Settings& settings, const Content& content, const QString& name);

    /// Begins; QCoreApplication::exit() follows at the end, after a message when something went wrong.
    void start();

public Q_SLOTS:
    void busLost();

private:
    /// What only a radio has.
    struct Radio
    {
        Radio(const Settings& settings, const Scenario& scenario, const QString& name,
              SimulationClock& clock);
        [[nodiscard]] base::Result<> start();

        SimulatedRadio radio;
        LocalDaemon daemon;
        Timeline timeline;
        PairingStore pairings;
    };

    [[nodiscard]] base::Result<> appear();
    void fail(const QString& problem);
    void askedToEnd();
    void endPatience();
    void end();

    SimulationClock m_clock;
    // One of them.
    std::unique_ptr<Radio> m_radio;
    std::unique_ptr<Replay> m_replay;
    BusFront m_front;
    ControlService m_control;
    base::EndingSignals m_signalsToEnd;
    QTimer m_patience; ///< while SIGTERM is ignored
    bool m_isEnding = false;
};

} // namespace bt

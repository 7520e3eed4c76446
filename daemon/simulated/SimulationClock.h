#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <map>

namespace bt {

/// The one clock behind everything that takes time in a simulated radio. Steps run in the order in which they
/// are due, equal ones in the order of their planning, however coarse the real timer is: a run with the same
/// seed and requests is the same run at any speed. Without a planned step no timer runs.
///
/// The clock follows real time, faster or slower, or stands still and is driven by advance().
class SimulationClock : public QObject
{
    Q_OBJECT

public:
    using Duration = std::chrono::milliseconds;
    static constexpr double LargestScale = 1e6;

    /// \a scale: how many times faster than real time the simulated time passes; greater than 0.
    /// \a isPaused: it stands at 0 until it is driven.
    explicit SimulationClock(double scale, bool isPaused = false);

    /// Runs \a step after \a delay of simulated time, unless \a context is gone by then.
    void after(Duration delay, QObject* context, std::function<void()> step);

    /// People do not think faster when the simulation does: the simulated time that passes in \a real time.
    [[nodiscard]] Duration forPeople(Duration real) const;

    [[nodiscard]] Duration now() const;

    [[nodiscard]] double scale() const { return m_scale; }
    /// Greater than 0.
    void setScale(double scale);
    [[nodiscard]] bool isPaused() const { return m_isPaused; }
    void pause();
    void resume();
    /// Pauses, and goes on by \a duration at once: when it returns, every step that fell due has run.
    void advance(Duration duration);

private:
    struct Step
    {
        QPointer<QObject> context;
        std::function<void()> run;
    };

    void runDue(Duration until);
    void setBase(Duration time);
    void arm();

    double m_scale;
    bool m_isPaused = false;
    /// The simulated time when m_elapsed was started.
    Duration m_base{ 0 };
    QElapsedTimer m_elapsed;
    QTimer m_timer;
    std::multimap<Duration, Step> m_steps;
    /// The time of the step that runs, so that delays planned by it do not add up errors; negative between
    /// steps.
    Duration m_stepTime{ -1 };
};

} // namespace bt

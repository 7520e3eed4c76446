#include "SimulationClock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace bt {

SimulationClock::SimulationClock(double scale, bool isPaused)
    : m_scale(scale)
    , m_isPaused(isPaused)
{
    m_elapsed.start();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { runDue(now()); });
}

SimulationClock::Duration SimulationClock::now() const
{
    if (m_stepTime.count() >= 0) {
        return m_stepTime;
    }
    if (m_isPaused) {
        return m_base;
    }
    return m_base + Duration(std::llround(static_cast<double>(m_elapsed.elapsed()) * m_scale));
}

SimulationClock::Duration SimulationClock::forPeople(Duration real) const
{
    return Duration(std::llround(static_cast<double>(real.count()) * m_scale));
}

void SimulationClock::after(Duration delay, QObject* context, std::function<void()> step)
{
    m_steps.emplace(now() + delay, Step{ context, std::move(step) });
    arm();
}

void SimulationClock::setBase(Duration time)
{
    m_base = time;
    m_elapsed.restart();
}

void SimulationClock::setScale(double scale)
{
    setBase(now());
    m_scale = scale;
    arm();
}

void SimulationClock::pause()
{
    setBase(now()); // which stays when it stands already
    m_isPaused = true;
    m_timer.stop();
}

void SimulationClock::resume()
{
    if (m_isPaused) {
        setBase(m_base);
        m_isPaused = false;
        arm();
    }
}

void SimulationClock::advance(Duration duration)
{
    pause();
    const Duration until = m_base + duration;
    runDue(until);
    setBase(until);
}

void SimulationClock::runDue(Duration until)
{
    while (!m_steps.empty() && m_steps.begin()->first <= until) {
        const auto first = m_steps.begin();
        const auto [due, step] = std::move(*first);
        m_steps.erase(first);
        if (!step.context.isNull()) {
            m_stepTime = due;
            step.run();
            m_stepTime = Duration(-1);
        }
    }
    arm();
}

// A step whose context is gone stays until it is due; waking for it would be for nothing, so it goes here.
void SimulationClock::arm()
{
    while (!m_steps.empty() && m_steps.begin()->second.context.isNull()) {
        m_steps.erase(m_steps.begin());
    }
    if (m_steps.empty() || m_isPaused) {
        m_timer.stop();
        return;
    }
    const double left = static_cast<double>((m_steps.begin()->first - now()).count()) / m_scale;
    m_timer.start(static_cast<int>(std::ceil(std::clamp(left, 0.0, 1e9))));
}

} // namespace bt

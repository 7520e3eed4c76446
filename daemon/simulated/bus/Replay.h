#pragma once

#include "DaemonBackend.h"
#include "RecordedRun.h"

#include <memory>

namespace bt {

class SimulationClock;

/// A daemon that does what was recorded of another, in order and spacing, whatever it is asked. After the end
/// it stays as it is.
class Replay : public DaemonBackend
{
    Q_OBJECT

public:
    Replay(RecordedRun run, SimulationClock& clock);

    void start() override;
    void stop() override { m_playing.reset(); }
    void call(const QDBusMessage& request, Reply reply) override;
    void flush(std::function<void()> done) override { done(); }

private:
    void happen(const RecordedEvent& event);
    [[nodiscard]] QDBusMessage answerProperties(const QDBusMessage& request) const;

    RecordedRun m_run;
    SimulationClock& m_clock;
    QVariantMap m_properties;
    std::unique_ptr<QObject> m_playing; ///< deleting it ends the play
};

} // namespace bt

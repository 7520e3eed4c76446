#pragma once

#include "RecordingReader.h"

#include <QDBusMessage>
#include <QObject>

#include <memory>

namespace bt {

class SimulationClock;

/// A daemon that does what was recorded of another, in order and spacing, whatever it is asked. After the end
/// it stays as it is.
class Replay : public QObject
{
    Q_OBJECT

public:
    Replay(recording::RecordedRun run, SimulationClock& clock);

    void start();
    void stop() { m_playing.reset(); }
    [[nodiscard]] QDBusMessage answer(const QDBusMessage& request) const;

Q_SIGNALS:
    /// It leaves the bus by itself, and comes back.
    void left();
    void returned();
    /// The name passes to another connection without a gap.
    void handedOver();
    /// A signal of the daemon's interface.
    void sent(const QString& signal, const QVariantList& arguments);

private:
    void happen(const recording::RecordedEvent& event);
    [[nodiscard]] QDBusMessage answerProperties(const QDBusMessage& request) const;

    recording::RecordedRun m_run;
    SimulationClock& m_clock;
    QVariantMap m_properties;
    std::unique_ptr<QObject> m_playing; ///< deleting it ends the play
};

} // namespace bt

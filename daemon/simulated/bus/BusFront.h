#pragma once

#include "DaemonBackend.h"
#include "Faults.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QTimer>

#include <deque>

namespace bt {

class SimulationClock;

/// One request that a client made.
struct DaemonCall
{
    std::chrono::milliseconds time{ 0 }; ///< of the simulation
    QString member; ///< the method, or "set NAME" for a property
    QVariantList arguments;
};

/// The daemon's place on the system bus. It passes everything on between the bus and the backend, unless a
/// fault has it otherwise, and keeps the calls.
class BusFront : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// Earlier calls are forgotten beyond that.
    static constexpr std::size_t MostCalls = 10'000;

    BusFront(DaemonBackend& backend, SimulationClock& clock);

    /// Serves the daemon's object and takes its name. @return what went wrong; empty when it is there.
    [[nodiscard]] QString appear(const QDBusConnection& bus);
    /// Has the backend end, passes its last words on and leaves; \a done comes when that is done.
    void end(std::function<void()> done);
    /// \a done comes when every signal that was caused before is on the bus.
    void flush(std::function<void()> done);

    /// Gives up the name, and takes it again.
    void leave();
    void comeBack();
    /// Passes the name on to another connection of this program.
    void handOver();
    void apply(const FaultRequest& request);
    /// What goes wrong now, as the control interface tells it.
    [[nodiscard]] QList<QVariantMap> faults() const;
    /// How long SIGTERM is to be ignored.
    [[nodiscard]] std::chrono::milliseconds ignoresSigterm() const { return m_faults.ignoresSigterm; }
    [[nodiscard]] const std::deque<DaemonCall>& calls() const { return m_calls; }

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

Q_SIGNALS:
    /// A request was taken up, and may have ended what was asked before.
    void faultsChanged();

private:
    /// A request that waits, and where its answer goes.
    struct Request
    {
        QDBusMessage message;
        QDBusConnection connection;
    };

    void note(const QDBusMessage& message);
    void take(const Request& request);
    void answer(const Request& request);
    [[nodiscard]] bool misanswer(const Request& request) const;
    void pass(QDBusMessage signal);
    void sendGathered();
    void clearFaults();
    void endStall();

    DaemonBackend& m_backend;
    SimulationClock& m_clock;
    QDBusConnection m_bus; ///< the one that has the name
    QDBusConnection m_otherBus; ///< for the next owner
    Faults m_faults;
    std::deque<DaemonCall> m_calls;
    bool m_isStalled = false;
    bool m_isAway = false;
    bool m_hasEnded = false; ///< nothing is passed to the backend any more
    QTimer m_stallEnd;
    QTimer m_return;
    QList<Request> m_waiting; ///< while it is stalled
    QList<QDBusMessage> m_gathered; ///< signals that are held back
};

} // namespace bt

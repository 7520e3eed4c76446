#pragma once

#include "Faults.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QTimer>

#include <deque>
#include <functional>

namespace bt {

class SimulationClock;

/// One request that a client made.
struct DaemonCall
{
    std::chrono::milliseconds time{ 0 }; ///< of the simulation
    QString member; ///< the method, or "set NAME" for a property
    QVariantList arguments;
};

/// The daemon's place on the system bus. It passes everything on between the bus and the daemon behind it,
/// unless a fault has it otherwise, and keeps the calls.
class BusFront : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// The daemon's reply to a request with the path, interface, member and arguments that a client chose.
    using Answer = std::function<QDBusMessage(const QDBusMessage& request)>;
    /// Earlier calls are forgotten beyond that.
    static constexpr std::size_t MostCalls = 10'000;

    BusFront(Answer answer, SimulationClock& clock);

    /// Serves the daemon's object and takes its name.
    [[nodiscard]] base::Result<> appear(const QDBusConnection& bus);
    /// Passes what was held back on, and leaves for good.
    void end();
    /// Waits until the bus has everything that was sent before.
    void sync() const;

    /// Sends a signal of the daemon.
    void pass(const QString& signal, const QVariantList& arguments);
    /// Gives up the name, and takes it again.
    void leave();
    void comeBack();
    /// Passes the name on to another connection of this program.
    void handOver();
    /// Has something go wrong, or nothing any more.
    void apply(const Fault& fault);
    [[nodiscard]] const Faults& faults() const { return m_faults; }
    [[nodiscard]] const std::deque<DaemonCall>& calls() const { return m_calls; }

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

Q_SIGNALS:
    /// Something goes wrong that did not, or the other way round.
    void faultsChanged();

private:
    /// A request, and where its answer goes.
    struct Request
    {
        QDBusMessage message;
        QDBusConnection connection;
        bool hasWaited = false;
    };

    void note(const QDBusMessage& message);
    void take(Request request);
    [[nodiscard]] QDBusMessage answerTo(const QDBusMessage& request) const;
    [[nodiscard]] bool isAway() const { return m_faults.find(FaultKind::Leave) != nullptr; }
    void sendGathered();
    void clearFaults();
    void endStall();

    Answer m_answer;
    SimulationClock& m_clock;
    QDBusConnection m_bus; ///< the one that has the name
    QDBusConnection m_otherBus; ///< for the next owner
    Faults m_faults;
    std::deque<DaemonCall> m_calls;
    bool m_hasEnded = false; ///< nothing is answered any more
    QTimer m_stallEnd;
    QTimer m_return;
    QList<Request> m_waiting; ///< while it is stalled
    QList<QDBusMessage> m_gathered; ///< signals that are held back
};

} // namespace bt

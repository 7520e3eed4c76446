#pragma once

#include "DaemonTypes.h"
#include "PairingCause.h"
#include "Result.h"

#include <QObject>

#include <map>
#include <memory>

namespace bt {

class Room;
class SimulationClock;
struct SimulatedDevice;

/// The devices that the radio is paired with, in the order of their pairing, and the connections to them.
class PairedDevices : public QObject
{
    Q_OBJECT

public:
    PairedDevices(Room& room, SimulationClock& clock);

    [[nodiscard]] bool contains(qulonglong address) const;
    void add(qulonglong address, const QString& name);
    /// Takes over what was paired before, without connections and without a word.
    void restore(const PairList& list);
    /// Ends the connection first.
    base::Result<> remove(qulonglong address);

    [[nodiscard]] const PairList& list() const { return m_list; }

    base::Result<> connectDevice(qulonglong address);
    /// The device connects by itself.
    base::Result<> acceptConnection(qulonglong address);
    /// The connection is lost at once, if there is one.
    void drop(qulonglong address) { end(address); }
    base::Result<> disconnectDevice(qulonglong address);
    /// Ends at once what has one of these bits of bt::Connection.
    void disconnectAll(unsigned connections);
    /// As when the radio falls silent: ends at once all connections, those being made as well.
    void dropAll();

Q_SIGNALS:
    void listChanged(const PairList& list);
    void connected(qulonglong address, const bt::SimulatedDevice& device);
    void connectionFailed(qulonglong address, bt::Cause cause);
    void disconnected(qulonglong address);

private:
    [[nodiscard]] int rowOf(qulonglong address) const;
    void plan(qulonglong address, std::chrono::milliseconds delay, void (PairedDevices::*step)(qulonglong));
    void establish(qulonglong address);
    void giveUp(qulonglong address) { fail(address, Cause::OutOfRange); }
    void fail(qulonglong address, Cause cause);
    void end(qulonglong address);

    Room& m_room;
    SimulationClock& m_clock;
    PairList m_list;
    /// Connections that come about or end; without its entry a planned step does not happen.
    std::map<qulonglong, std::unique_ptr<QObject>> m_underWay;
};

} // namespace bt

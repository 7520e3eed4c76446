#pragma once

#include "RadioTypes.h"
#include "Result.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace bt {

class BusFront;
class SimulatedRadio;
class SimulationClock;

/// The D-Bus side of what drives a simulation; control/tov.sim.Radio1.xml explains its members.
class ControlService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_PROPERTY(double Time READ time)
    Q_PROPERTY(bool Paused READ isPaused WRITE setPaused)
    Q_PROPERTY(double Speed READ speed)

public:
    /// \a radio may be null: a recording has no devices.
    ControlService(SimulatedRadio* radio, BusFront& front, SimulationClock& clock);

    [[nodiscard]] base::Result<> publish(QDBusConnection bus);

    [[nodiscard]] double time() const;
    [[nodiscard]] bool isPaused() const;
    void setPaused(bool paused);
    [[nodiscard]] double speed() const;

public Q_SLOTS:
    // By the names of the interface.
    QList<QVariantMap> Devices();
    void AddDevice(const QString& description);
    void RemoveDevice(const QString& device);
    void ReturnDevice(const QString& device);
    void MoveDevice(const QString& device, int rssi, double seconds);
    void DropDevice(const QString& device);
    void ConnectDevice(const QString& device);
    void RequestPairing(const QString& device);
    void AnswerPairing(const QString& device, bool accepts);
    void SetFault(const QStringList& fault);
    QList<QVariantMap> Faults();
    QList<QVariantMap> Calls();
    void Step(double seconds);
    void SetSpeed(double speed);

private:
    template <typename Change>
    void change(const QString& device, Change change);
    [[nodiscard]] qulonglong find(const QString& device);
    bool hasRadio();
    void answer(const base::Result<>& done);
    void refuse(const char* error, const QString& text);

    SimulatedRadio* m_radio;
    BusFront& m_front;
    SimulationClock& m_clock;
};

} // namespace bt

#include "Simulation.h"

#include "Notice.h"
#include "PrivateLine.h"
#include "Replay.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>

#include <utility>

namespace bt {

namespace {

SimulatedRadio::Identity identityOf(const QString& name)
{
    SimulatedRadio::Identity identity;
    identity.name = name;
    return identity;
}

} // namespace

Simulation::Radio::Radio(const Settings& settings, const Scenario& scenario, const QString& name,
                         SimulationClock& clock)
    : radio(identityOf(name), Room(scenario.devices), clock, settings.seed)
    , timeline(scenario.timeline, radio, clock)
    , pairings(settings.stateFile)
{
}

void Simulation::Radio::takePairings()
{
    if (const auto kept = pairings.load()) {
        radio.restorePairs(*kept);
    } else {
        radio.pairAsInRoom();
    }
    connect(&radio, &bt::Radio::pairListChanged, &radio,
            [this](const PairList& list) { pairings.save(list); });
}

Simulation::Simulation(const Settings& settings, const Content& content, const QString& name)
    : m_clock(settings.timeScale, settings.isPaused)
    , m_radio(std::holds_alternative<Scenario>(content)
                  ? std::make_unique<Radio>(settings, std::get<Scenario>(content), name, m_clock)
                  : nullptr)
    , m_backend(makeBackend(content))
    , m_front(*m_backend, m_clock)
    , m_control(m_radio ? &m_radio->radio : nullptr, m_front, m_clock)
{
    connect(m_backend.get(), &DaemonBackend::ready, this, &Simulation::appear);
    connect(m_backend.get(), &DaemonBackend::failed, this, &Simulation::fail);
    connect(&m_signalsToEnd, &base::EndingSignals::received, this, &Simulation::askedToEnd);
    m_patience.setSingleShot(true);
    m_patience.setTimerType(Qt::PreciseTimer);
    connect(&m_patience, &QTimer::timeout, this, &Simulation::end);
    // Not before whoever had it changed has the answer.
    connect(&m_front, &BusFront::faultsChanged, this, &Simulation::endPatience, Qt::QueuedConnection);
}

std::unique_ptr<DaemonBackend> Simulation::makeBackend(const Content& content)
{
    if (m_radio) {
        return std::make_unique<PrivateLine>(m_radio->radio);
    }
    return std::make_unique<Replay>(std::get<RecordedRun>(content), m_clock);
}

void Simulation::start()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        fail(QStringLiteral("there is no system bus: %1; DBUS_SYSTEM_BUS_ADDRESS names another one")
                 .arg(bus.lastError().message()));
        return;
    }
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(busLost()));
    if (m_radio) {
        m_radio->takePairings();
    }
    m_backend->start();
}

// The daemon's name comes last: whoever sees it finds the control in place, too.
void Simulation::appear()
{
    if (m_isEnding) {
        return;
    }
    const QDBusConnection bus = QDBusConnection::systemBus();
    const QString noControl = m_control.publish(bus);
    QString problem = m_front.appear(bus);
    if (problem.isEmpty()) {
        problem = noControl;
    }
    if (!problem.isEmpty()) {
        fail(problem);
    }
}

void Simulation::fail(const QString& problem)
{
    notice(problem);
    QCoreApplication::exit(1);
}

void Simulation::busLost()
{
    if (m_isEnding) {
        return; // whoever ends us may end the bus at once
    }
    fail(QStringLiteral("the system bus is gone"));
}

void Simulation::askedToEnd()
{
    const auto ignored = m_front.ignoresSigterm();
    if (ignored.count() == 0) {
        end();
    } else if (!m_patience.isActive()) {
        m_patience.start(ignored);
    }
}

void Simulation::endPatience()
{
    if (m_patience.isActive() && m_front.ignoresSigterm().count() == 0) {
        m_patience.stop();
        end();
    }
}

void Simulation::end()
{
    if (!std::exchange(m_isEnding, true)) {
        m_front.end([] { QCoreApplication::exit(0); });
    }
}

} // namespace bt

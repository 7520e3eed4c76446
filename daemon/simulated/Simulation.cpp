#include "Simulation.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDebug>

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

Simulation::Simulation(const Settings& settings, const Scenario& scenario, const QString& name)
    : m_settings(settings)
    , m_clock(settings.timeScale)
    , m_radio(identityOf(name), Room(scenario.devices), m_clock, settings.seed)
    , m_timeline(scenario.timeline, m_radio, m_clock)
    , m_pairings(settings.stateFile)
    , m_line(m_radio)
    , m_front(m_line, m_clock)
    , m_control(&m_radio, m_front, m_clock)
{
    connect(&m_line, &DaemonBackend::ready, this, &Simulation::appear);
    connect(&m_line, &DaemonBackend::failed, this, &Simulation::fail);
    connect(&m_signalsToEnd, &process::EndingSignals::received, this, &Simulation::askedToEnd);
    m_patience.setSingleShot(true);
    m_patience.setTimerType(Qt::PreciseTimer);
    connect(&m_patience, &QTimer::timeout, this, &Simulation::end);
    if (settings.isPaused) {
        m_clock.pause();
    }
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
    if (const auto kept = m_pairings.load()) {
        m_radio.restorePairs(*kept);
    } else {
        m_radio.pairAsInRoom();
    }
    connect(&m_radio, &Radio::pairListChanged, this, [this](const PairList& list) { m_pairings.save(list); });
    m_line.start();
}

// The daemon's name comes last: whoever sees it finds the control in place, too.
void Simulation::appear()
{
    if (m_isEnding) {
        return;
    }
    const QDBusConnection bus = QDBusConnection::systemBus();
    QString problem = m_front.appear(bus);
    if (problem.isEmpty()) {
        problem = m_control.publish(bus);
    }
    if (!problem.isEmpty()) {
        fail(problem);
    }
}

void Simulation::fail(const QString& problem)
{
    qCritical().noquote() << problem;
    QCoreApplication::exit(1);
}

void Simulation::busLost()
{
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

void Simulation::end()
{
    if (!std::exchange(m_isEnding, true)) {
        m_front.end([] { QCoreApplication::exit(0); });
    }
}

} // namespace bt

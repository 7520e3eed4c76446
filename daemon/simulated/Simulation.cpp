#include "Simulation.h"

#include "Notice.h"

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
    , daemon(radio)
    , timeline(scenario.timeline, radio, clock)
    , pairings(settings.stateFile)
{
}

base::Result<> Simulation::Radio::start()
{
    if (const auto kept = pairings.load()) {
        radio.restorePairs(*kept);
    } else {
        radio.pairAsInRoom();
    }
    connect(&radio, &bt::Radio::pairListChanged, &radio,
            [this](const PairList& list) { pairings.save(list); });
    auto served = daemon.serve();
    radio.start();
    return served;
}

Simulation::Simulation(const Settings& settings, const Content& content, const QString& name)
    : m_clock(settings.timeScale, settings.isPaused)
    , m_radio(std::holds_alternative<Scenario>(content)
                  ? std::make_unique<Radio>(settings, std::get<Scenario>(content), name, m_clock)
                  : nullptr)
    , m_replay(m_radio ? nullptr
                       : std::make_unique<Replay>(std::get<recording::RecordedRun>(content), m_clock))
    , m_front(
          [this](const QDBusMessage& request) {
              return m_radio ? m_radio->daemon.answer(request) : m_replay->answer(request);
          },
          m_clock)
    , m_control(m_radio ? &m_radio->radio : nullptr, m_front, m_clock)
{
    if (m_radio) {
        connect(&m_radio->daemon, &LocalDaemon::sent, &m_front, &BusFront::pass);
    } else {
        connect(m_replay.get(), &Replay::sent, &m_front, &BusFront::pass);
        connect(m_replay.get(), &Replay::left, &m_front, &BusFront::leave);
        connect(m_replay.get(), &Replay::returned, &m_front, &BusFront::comeBack);
        connect(m_replay.get(), &Replay::handedOver, &m_front, &BusFront::handOver);
    }
    connect(&m_signalsToEnd, &base::EndingSignals::received, this, &Simulation::askedToEnd);
    m_patience.setSingleShot(true);
    m_patience.setTimerType(Qt::PreciseTimer);
    connect(&m_patience, &QTimer::timeout, this, &Simulation::end);
    // Not before whoever had it changed has the answer.
    connect(&m_front, &BusFront::faultsChanged, this, &Simulation::endPatience, Qt::QueuedConnection);
}

void Simulation::start()
{
    if (const auto there = appear(); !there) {
        fail(there.error().text);
    }
}

// The daemon's name comes last: whoever sees it finds everything in place, the control, too.
base::Result<> Simulation::appear()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        return base::error(
            QStringLiteral("there is no system bus: %1; DBUS_SYSTEM_BUS_ADDRESS names another one")
                .arg(bus.lastError().message()));
    }
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(busLost()));
    if (!m_radio) {
        m_replay->start();
    } else if (auto started = m_radio->start(); !started) {
        return started;
    }
    const auto control = m_control.publish(bus);
    const auto daemon = m_front.appear(bus);
    return daemon ? control : daemon;
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
    const auto ignored = m_front.faults().durationOf(FaultKind::IgnoreSigterm);
    if (ignored.count() == 0) {
        end();
    } else if (!m_patience.isActive()) {
        m_patience.start(ignored);
    }
}

void Simulation::endPatience()
{
    if (m_patience.isActive() && m_front.faults().durationOf(FaultKind::IgnoreSigterm).count() == 0) {
        m_patience.stop();
        end();
    }
}

void Simulation::end()
{
    if (std::exchange(m_isEnding, true)) {
        return;
    }
    if (m_radio) {
        m_radio->radio.stop();
    } else {
        m_replay->stop();
    }
    m_front.end();
    QCoreApplication::exit(0);
}

} // namespace bt

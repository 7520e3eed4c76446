#include "SimulatedWorld.h"

#include "EverydayOutput.h"
#include "Waiting.h"
#include "WorldParts.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <cstdio>

namespace testkit {

SimulatedWorld::SimulatedWorld(const world::PrivateFilesystem& filesystem)
    : m_parts(std::make_unique<Parts>(filesystem))
{
}

SimulatedWorld::~SimulatedWorld() = default;

bool SimulatedWorld::succeed(const QString& problem)
{
    m_problem = problem;
    return problem.isEmpty();
}

void SimulatedWorld::setPatience(std::chrono::milliseconds patience)
{
    m_parts->patience = patience;
}

bool SimulatedWorld::start(const SimulationOptions& options)
{
    if (!checkScenario(options.scenario)) {
        return false;
    }
    qputenv("BLUESIM_SCENARIO", QFile::encodeName(options.scenario));
    qputenv("BLUESIM_SEED", QByteArray::number(options.seed));
    qputenv("BLUESIM_PAUSED", options.isPaused ? "1" : "0");
    m_parts->ownDaemon.reset();
    m_parts->client.reset();
    if (!m_parts->hasBuses) {
        m_parts->hasBuses = true;
        if (!succeed(problemOf(m_parts->world.start()))) {
            return false;
        }
    } else {
        m_parts->world.stopHost();
        if (!waitForName(daemonName(), false, m_parts->patience)
            || !waitForName(simulationName(), false, m_parts->patience)) {
            return succeed(QStringLiteral("an earlier daemon does not leave the bus"));
        }
        QFile::remove(qEnvironmentVariable("BLUESIM_STATE"));
        if (!succeed(problemOf(m_parts->world.restartHost()))) {
            return false;
        }
    }
    m_parts->client = std::make_unique<KELClientInterface>(QStringLiteral("tov.base.bluetoothlauncher"),
                                                           QDBusConnection::sessionBus());
    // The host's configs outlive it; a world begins with the radio off.
    return text(QStringLiteral("enabled")) != QLatin1String("true") || set(QStringLiteral("enabled"), false);
}

// The radio itself would say so only when it is switched on.
bool SimulatedWorld::checkScenario(const QString& scenario)
{
    if (scenario.isEmpty() || scenario == m_parts->checkedScenario) {
        return succeed({});
    }
    QProcess check;
    check.start(world::World::binFolder() + QStringLiteral("/bluesim"),
                { QStringLiteral("--check-scenario"), scenario });
    if (!check.waitForFinished()) {
        return succeed(check.errorString());
    }
    if (check.exitCode() != 0) {
        return succeed(QString::fromUtf8(check.readAllStandardError()).trimmed());
    }
    m_parts->checkedScenario = scenario;
    return succeed({});
}

bool SimulatedWorld::waitForSimulation()
{
    return waitForName(daemonName(), true, m_parts->patience)
            && waitForName(simulationName(), true, m_parts->patience)
        ? succeed({})
        : succeed(QStringLiteral("no simulated radio came: %1").arg(m_parts->world.output()));
}

bool SimulatedWorld::switchOn()
{
    if (!set(QStringLiteral("enabled"), true) || !waitForSimulation()) {
        return false;
    }
    constexpr double StartTime = 1; // twice what the radio needs
    const bool isPaused = qgetenv("BLUESIM_PAUSED") == "1";
    return (!isPaused || step(StartTime)) && waitFor(QStringLiteral("status"), QStringLiteral("3"));
}

bool SimulatedWorld::startOwnDaemon(const QString& scenario)
{
    if (!scenario.isEmpty()) {
        qputenv("BLUESIM_SCENARIO", QFile::encodeName(scenario));
    }
    world::Command command;
    command.arguments = QStringList{ world::World::binFolder() + QStringLiteral("/bluesim"),
                                     QStringLiteral("TORLO-test"), QStringLiteral("1"), QStringLiteral("1") };
    m_parts->ownDaemon = std::make_unique<world::ChildProcess>();
    return m_parts->ownDaemon->start(command) ? waitForSimulation()
                                              : succeed(QStringLiteral("bluesim cannot be started"));
}

void SimulatedWorld::endOwnDaemon()
{
    m_parts->ownDaemon.reset();
}

KELClientInterface& SimulatedWorld::client()
{
    return *m_parts->client;
}

QString SimulatedWorld::output() const
{
    return m_parts->world.output();
}

pid_t SimulatedWorld::hostPid() const
{
    return m_parts->world.hostRuns() ? m_parts->world.hostPid() : 0;
}

int runInWorld(int& argc, char** argv, const QString& programs,
               const std::function<int(SimulatedWorld&)>& test)
{
    world::World::setBinFolder(programs);
    world::PrivateFilesystem filesystem;
    const QString tree = QFileInfo(programs).path(); // its libraries stand there; it may lie below /tmp
    const auto entered = filesystem.enter({ programs + QStringLiteral("/bluesim"), { tree } }, argv);
    if (!entered) {
        std::fprintf(stderr, "%s\n", qPrintable(problemOf(entered)));
        return 77;
    }
    const QCoreApplication application(argc, argv);
    SimulatedWorld world(filesystem);
    if (!world.start()) {
        std::fprintf(stderr, "%s\n%s\n", qPrintable(world.problem()), qPrintable(world.output()));
        return 1;
    }
    const int failures = test(world);
    if (failures != 0) {
        std::fprintf(stderr, "%s\n", qPrintable(world::withoutEverydayLines(world.output())));
    }
    return failures;
}

} // namespace testkit

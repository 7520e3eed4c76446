#include "SimulatedWorld.h"

#include "client/KELClientInterface.h"
#include "world/World.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

#include <cstdio>

namespace testkit {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds DefaultPatience = 20s;

const QString& simulationName()
{
    static const QString name = QStringLiteral("tov.sim.Bluetooth");
    return name;
}

const QString& daemonName()
{
    static const QString name = QStringLiteral("com.qarn.bluetooth");
    return name;
}

/// Waits for a signal after which a condition holds; the condition may hold already.
template <typename Connect>
bool waitUntil(const std::function<bool()>& holds, std::chrono::milliseconds patience, Connect connectTo)
{
    QEventLoop loop;
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    bool held = false;
    const auto check = [&] {
        held = holds();
        if (held) {
            loop.quit();
        }
    };
    connectTo(loop, check);
    check();
    if (!held) {
        loop.exec();
    }
    return held;
}

bool isOnTheBus(const QString& name)
{
    return QDBusConnection::systemBus().interface()->isServiceRegistered(name);
}

bool waitForName(const QString& name, bool there, std::chrono::milliseconds patience)
{
    QDBusServiceWatcher watcher(name, QDBusConnection::systemBus(), QDBusServiceWatcher::WatchForOwnerChange);
    return waitUntil([&] { return isOnTheBus(name) == there; }, patience,
                     [&](QEventLoop& loop, const auto& check) {
                         QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, &loop, check);
                     });
}

} // namespace

struct SimulatedWorld::Parts
{
    explicit Parts(const world::PrivateFilesystem& filesystem)
        : world(filesystem)
    {
    }

    world::World world;
    std::unique_ptr<KELClientInterface> client;
    std::unique_ptr<world::ChildProcess> ownDaemon;
    std::chrono::milliseconds patience = DefaultPatience;
    QString checkedScenario = SimulationOptions().scenario;
    bool hasBuses = false;
};

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
        if (!succeed(m_parts->world.start())) {
            return false;
        }
    } else {
        m_parts->world.stopHost();
        if (!waitForName(daemonName(), false, m_parts->patience)
            || !waitForName(simulationName(), false, m_parts->patience)) {
            return succeed(QStringLiteral("an earlier daemon does not leave the bus"));
        }
        QFile::remove(qEnvironmentVariable("BLUESIM_STATE"));
        if (!succeed(m_parts->world.restartHost())) {
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
    return m_parts->ownDaemon->start(command) == 0 ? waitForSimulation()
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

QString SimulatedWorld::text(const QString& item)
{
    const auto value = m_parts->client->get(item);
    return succeed(value ? QString() : value.error().message) ? value->toString() : QString();
}

bool SimulatedWorld::isApplicable(const QString& item)
{
    const auto found = m_parts->client->list({ QStringLiteral("bluetooth:") + item });
    if (!found) {
        return succeed(found.error().message);
    }
    if (found->items.size() != 1) {
        return succeed(QStringLiteral("bluetooth has no item \"%1\"").arg(item));
    }
    m_problem.clear();
    return found->items.first().properties.value(QStringLiteral("applicable")).toBool();
}

bool SimulatedWorld::set(const QString& item, const QVariant& value)
{
    const auto done = m_parts->client->set(item, value);
    return succeed(done ? QString() : done.error().message);
}

bool SimulatedWorld::trigger(const QString& action, const QString& text)
{
    const auto reply = m_parts->client->trigger(action, text);
    return succeed(reply ? QString() : reply.error().message);
}

bool SimulatedWorld::waitForItem(const std::function<bool()>& holds)
{
    if (holds()) {
        return true;
    }
    if (!m_problem.isEmpty()) { // there is no such item, or nobody answers
        return false;
    }
    return m_parts->client->watch()
        && waitUntil(holds, m_parts->patience, [&](QEventLoop& loop, const auto& check) {
               QObject::connect(m_parts->client.get(), &KELClientInterface::changed, &loop, check);
           });
}

bool SimulatedWorld::waitFor(const QString& item, const QString& value)
{
    return waitForItem([&] { return text(item) == value && m_problem.isEmpty(); }) || fail(item);
}

bool SimulatedWorld::waitForApplicable(const QString& item, bool applicable)
{
    if (waitForItem([&] { return isApplicable(item) == applicable && m_problem.isEmpty(); })) {
        return true;
    }
    return m_problem.isEmpty()
        ? succeed(QStringLiteral("%1 %2").arg(item, QLatin1String(applicable ? "does not apply" : "applies")))
        : false;
}

bool SimulatedWorld::fail(const QString& item, const QString& reason)
{
    const QString value = text(item);
    if (m_problem.isEmpty()) {
        m_problem = QStringLiteral("%1 is \"%2\"").arg(item, value);
    }
    if (!reason.isEmpty()) {
        m_problem += QStringLiteral("; ") + reason;
    }
    return false;
}

bool SimulatedWorld::stepUntil(const std::function<bool()>& holds)
{
    constexpr double HalfASecond = 0.5;
    const bool held = QTest::qWaitFor([&] { return step(HalfASecond) && holds(); },
                                      static_cast<int>(m_parts->patience.count()));
    return held               ? succeed({})
        : m_problem.isEmpty() ? succeed(QStringLiteral("it did not come about"))
                              : false;
}

bool SimulatedWorld::stepUntil(const QString& item, const QString& value)
{
    const auto holds = [&] {
        return text(item) == value && m_problem.isEmpty();
    };
    if (!holds() && !m_problem.isEmpty()) {
        return false;
    }
    if (stepUntil(holds)) {
        return true;
    }
    const QString reason = m_problem; // the item is asked for once more
    return fail(item, reason);
}

QList<DaemonCall> SimulatedWorld::callsWithArguments() const
{
    QList<DaemonCall> calls;
    const auto records = qdbus_cast<QList<QVariantMap>>(ask("Calls").arguments().value(0));
    for (const QVariantMap& record : records) {
        calls << DaemonCall{ record.value(QStringLiteral("time")).toDouble(),
                             record.value(QStringLiteral("member")).toString(),
                             qdbus_cast<QVariantList>(record.value(QStringLiteral("arguments"))) };
    }
    return calls;
}

QStringList SimulatedWorld::calls() const
{
    QStringList members;
    for (const DaemonCall& call : callsWithArguments()) {
        members << call.member;
    }
    return members;
}

QDBusMessage SimulatedWorld::ask(const char* method, const QVariantList& arguments) const
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(simulationName(), QStringLiteral("/tov/sim/Radio"),
                                       QStringLiteral("tov.sim.Radio1"), QLatin1String(method));
    call.setArguments(arguments);
    return QDBusConnection::systemBus().call(call);
}

bool SimulatedWorld::control(const char* method, const QVariantList& arguments)
{
    const QDBusMessage reply = ask(method, arguments);
    if (reply.type() != QDBusMessage::ErrorMessage) {
        return succeed({});
    }
    return succeed(isOnTheBus(simulationName()) ? reply.errorMessage()
                                                : QStringLiteral("no simulated radio is on the bus"));
}

int runInWorld(int& argc, char** argv, const QString& programs,
               const std::function<int(SimulatedWorld&)>& test)
{
    world::World::setBinFolder(programs);
    world::PrivateFilesystem filesystem;
    const QString tree = QFileInfo(programs).path(); // its libraries stand there; it may lie below /tmp
    const QString noView = filesystem.enter({ programs + QStringLiteral("/bluesim"), { tree } }, argv);
    if (!noView.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(noView));
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
        std::fprintf(stderr, "%s\n", qPrintable(world.output()));
    }
    return failures;
}

} // namespace testkit

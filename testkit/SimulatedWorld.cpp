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
#include <QTimer>

#include <cstdio>

namespace testkit {

namespace {

using namespace std::chrono_literals;

constexpr auto Patience = 20s;

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
bool waitUntil(const std::function<bool()>& holds, Connect connectTo)
{
    QEventLoop loop;
    QTimer::singleShot(Patience, &loop, &QEventLoop::quit);
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

bool waitForName(const QString& name, bool there)
{
    QDBusServiceWatcher watcher(name, QDBusConnection::systemBus(), QDBusServiceWatcher::WatchForOwnerChange);
    return waitUntil([&] { return isOnTheBus(name) == there; },
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

bool SimulatedWorld::start(const SimulationOptions& options)
{
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
        if (!waitForName(daemonName(), false) || !waitForName(simulationName(), false)) {
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

bool SimulatedWorld::waitForSimulation()
{
    return waitForName(daemonName(), true) && waitForName(simulationName(), true)
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
    return succeed(found ? QString() : found.error().message) && found->items.size() == 1
        && found->items.first().properties.value(QStringLiteral("applicable")).toBool();
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

bool SimulatedWorld::waitFor(const QString& item, const QString& value)
{
    const bool held = m_parts->client->watch()
        && waitUntil([&] { return text(item) == value; },
                     [&](QEventLoop& loop, const auto& check) {
                         QObject::connect(m_parts->client.get(), &KELClientInterface::changed, &loop, check);
                     });
    return held ? succeed({}) : succeed(QStringLiteral("%1 is \"%2\"").arg(item, text(item)));
}

bool SimulatedWorld::waitForApplicable(const QString& item, bool applicable)
{
    return m_parts->client->watch()
        && waitUntil([&] { return isApplicable(item) == applicable; },
                     [&](QEventLoop& loop, const auto& check) {
                         QObject::connect(m_parts->client.get(), &KELClientInterface::changed, &loop, check);
                     });
}

bool SimulatedWorld::stepUntil(const std::function<bool()>& holds)
{
    constexpr double HalfASecond = 0.5;
    return QTest::qWaitFor([&] { return step(HalfASecond) && holds(); },
                           static_cast<int>(std::chrono::milliseconds(Patience).count()));
}

bool SimulatedWorld::stepUntil(const QString& item, const QString& value)
{
    return stepUntil([&] { return text(item) == value; })
        || succeed(QStringLiteral("%1 is \"%2\"").arg(item, text(item)));
}

QStringList SimulatedWorld::calls() const
{
    QStringList members;
    const auto records = qdbus_cast<QList<QVariantMap>>(ask("Calls").arguments().value(0));
    for (const QVariantMap& record : records) {
        members << record.value(QStringLiteral("member")).toString();
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
    return succeed(reply.type() == QDBusMessage::ErrorMessage ? reply.errorMessage() : QString());
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

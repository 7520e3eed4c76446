#include "SimulatedWorld.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

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

SimulatedWorld::SimulatedWorld(const world::PrivateFilesystem& filesystem)
    : m_filesystem(filesystem)
    , m_world(filesystem)
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
    m_ownDaemon.reset();
    m_client.reset();
    if (!m_hasBuses) {
        m_hasBuses = true;
        if (!succeed(m_world.start())) {
            return false;
        }
    } else {
        m_world.stopHost();
        if (!waitForName(daemonName(), false) || !waitForName(simulationName(), false)) {
            return succeed(QStringLiteral("an earlier daemon does not leave the bus"));
        }
        QFile::remove(qEnvironmentVariable("BLUESIM_STATE"));
        if (!succeed(m_world.restartHost())) {
            return false;
        }
    }
    m_client = std::make_unique<KELClientInterface>(QStringLiteral("tov.base.bluetoothlauncher"),
                                                    QDBusConnection::sessionBus());
    // The host's configs outlive it; a world begins with the radio off.
    return text(QStringLiteral("enabled")) != QLatin1String("true") || set(QStringLiteral("enabled"), false);
}

bool SimulatedWorld::waitForSimulation()
{
    return waitForName(daemonName(), true) && waitForName(simulationName(), true)
        ? succeed({})
        : succeed(QStringLiteral("no simulated radio came: %1").arg(m_world.output()));
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
    m_ownDaemon = std::make_unique<world::ChildProcess>();
    return m_ownDaemon->start(command) == 0 ? waitForSimulation()
                                            : succeed(QStringLiteral("bluesim cannot be started"));
}

QString SimulatedWorld::text(const QString& item)
{
    const auto value = m_client->get(item);
    return succeed(value ? QString() : value.error().message) ? value->toString() : QString();
}

bool SimulatedWorld::isApplicable(const QString& item)
{
    const auto found = m_client->list({ QStringLiteral("bluetooth:") + item });
    return succeed(found ? QString() : found.error().message) && found->items.size() == 1
        && found->items.first().properties.value(QStringLiteral("applicable")).toBool();
}

bool SimulatedWorld::set(const QString& item, const QVariant& value)
{
    const auto done = m_client->set(item, value);
    return succeed(done ? QString() : done.error().message);
}

bool SimulatedWorld::trigger(const QString& action, const QString& text)
{
    const auto reply = m_client->trigger(action, text);
    return succeed(reply ? QString() : reply.error().message);
}

bool SimulatedWorld::waitFor(const QString& item, const QString& value)
{
    const bool held = m_client->watch()
        && waitUntil([&] { return text(item) == value; },
                     [&](QEventLoop& loop, const auto& check) {
                         QObject::connect(m_client.get(), &KELClientInterface::changed, &loop, check);
                     });
    return held ? succeed({}) : succeed(QStringLiteral("%1 is \"%2\"").arg(item, text(item)));
}

bool SimulatedWorld::waitForApplicable(const QString& item, bool applicable)
{
    return m_client->watch()
        && waitUntil([&] { return isApplicable(item) == applicable; },
                     [&](QEventLoop& loop, const auto& check) {
                         QObject::connect(m_client.get(), &KELClientInterface::changed, &loop, check);
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

} // namespace testkit

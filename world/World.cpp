#include "World.h"

#include "Descendants.h"
#include "ServerReadiness.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>

namespace world {

namespace {

QString companionName()
{
    return QStringLiteral("tov.base.sync_mobile_app");
}

} // namespace

World::World(const PrivateFilesystem& filesystem)
    : m_filesystem(filesystem)
{
}

World::~World()
{
    stop();
}

base::Result<> World::start(const WorldOptions& options)
{
    m_options = options;
    if (m_options.host.isEmpty()) {
        m_options.host = binFolder() + QStringLiteral("/bluetoothlauncher");
    }
    if (m_options.output < 0) {
        m_ownOutput = FileDescriptor(open(QFile::encodeName(outputPath()).constData(),
                                          O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        m_options.output = m_ownOutput.get();
    }
    adoptOrphans();
    return startBuses()
        .map([this] { exportEnvironment(); })
        .and_then([this] { return startCompanion(); })
        .and_then([this] { return startHost(); });
}

base::Result<> World::startBuses()
{
    const QString folder = m_filesystem.folder().path();
    return m_systemBus.start(MessageBus::Kind::System, folder, m_options.output).and_then([&] {
        return m_sessionBus.start(MessageBus::Kind::Session, folder, m_options.output);
    });
}

void World::exportEnvironment() const
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_systemBus.address().toLocal8Bit());
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_sessionBus.address().toLocal8Bit());
    // The radio is lent and switched off by ending the controller; what it is paired with outlives that.
    qputenv("BLUESIM_STATE",
            QFile::encodeName(m_filesystem.folder().filePath(QStringLiteral("bluesim-pairings.json"))));
    // So that itemctl can tell a server that is gone from a name that is wrong.
    QByteArray servers = hostName().toLocal8Bit();
    if (!m_options.companion.isEmpty()) {
        servers += ' ' + companionName().toLocal8Bit();
    }
    qputenv("ITEMCTL_SERVERS", servers);
    qputenv("PATH", QFile::encodeName(binFolder()) + ':' + qgetenv("PATH"));
    // Shells find there what completes our programs' command lines.
    const QByteArray share = QFile::encodeName(QDir::cleanPath(binFolder() + QStringLiteral("/../share")));
    const QByteArray others = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS",
            share + ':' + (others.isEmpty() ? QByteArray("/usr/local/share:/usr/share") : others));
}

base::Result<> World::startHost()
{
    if (hostRuns()) {
        return {};
    }
    m_isHostWanted = true;
    QStringList arguments{ m_options.host, QStringLiteral("--state"), stateFolder() };
    for (const QString& module : m_options.modules) {
        arguments << QStringLiteral("--module") << module;
    }
    return startServer(m_host, arguments, hostName());
}

base::Result<> World::startCompanion()
{
    if (m_options.companion.isEmpty()) {
        return {};
    }
    const QString state = m_filesystem.folder().filePath(QStringLiteral("companion"));
    return startServer(m_companion, { m_options.companion, state }, companionName());
}

base::Result<> World::startServer(ChildProcess& process, const QStringList& arguments,
                                  const QString& busName) const
{
    const QString& program = arguments.first();
    Command command;
    command.arguments = arguments;
    command.output = m_options.output;
    if (const auto started = process.start(command); !started) {
        return base::error(
            QStringLiteral("the server %1 cannot be started: %2").arg(program, started.error().text));
    }
    switch (awaitServer(m_sessionBus.address(), busName, process.descriptor(), m_options.cancel,
                        m_options.limit)) {
    case Readiness::Ready:
        return {};
    case Readiness::Ended:
        return base::error(QStringLiteral("the server %1 ended with status %2 before it was ready")
                               .arg(program)
                               .arg(process.wait().value_or(0)));
    case Readiness::Cancelled:
        return base::error(QStringLiteral("interrupted while %1 was starting").arg(program));
    case Readiness::TooLate:
        break;
    }
    return base::error(QStringLiteral("the server %1 did not take its name %2 within %3 s")
                           .arg(program, busName)
                           .arg(std::chrono::duration_cast<std::chrono::seconds>(m_options.limit).count()));
}

base::Result<> World::restartHost()
{
    stopHost();
    return startHost();
}

void World::stopHost()
{
    m_isHostWanted = false;
    m_host.end(HostGrace);
    awaitAbsence(m_sessionBus.address(), hostName(), ChildProcess::Grace);
}

base::Result<> World::signalHost(int number)
{
    if (!hostRuns()) {
        return base::error(QStringLiteral("the host does not run; \"hostctl start\" starts it"));
    }
    if (number == SIGSTOP && m_filesystem.mechanism() == Mechanism::Proot) {
        return base::error(
            QStringLiteral("proot lets no process be stopped; this works where namespaces do"));
    }
    m_host.signal(number);
    return {};
}

bool World::hostRuns()
{
    return m_host.isRunning() && !m_host.wait(std::chrono::milliseconds::zero());
}

void World::stop()
{
    endDescendants({ m_host.pid(), m_companion.pid(), m_systemBus.pid(), m_sessionBus.pid() },
                   ChildProcess::Grace);
    m_host.end(HostGrace);
    m_companion.end();
    m_sessionBus.stop();
    m_systemBus.stop();
    endDescendants({}, ChildProcess::Grace);
}

QString World::stateFolder() const
{
    return m_options.state.isEmpty() ? m_filesystem.folder().filePath(QStringLiteral("state"))
                                     : m_options.state;
}

QString World::outputPath() const
{
    return m_filesystem.folder().filePath(QStringLiteral("output.log"));
}

QString World::output() const
{
    QFile file(outputPath());
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

namespace {

QString& toldBinFolder()
{
    static QString folder;
    return folder;
}

} // namespace

void World::setBinFolder(const QString& folder)
{
    toldBinFolder() = folder;
}

QString World::binFolder()
{
    if (!toldBinFolder().isEmpty()) {
        return toldBinFolder();
    }
    // Tests lie beside "bin", our programs in it.
    const QString own = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).path();
    return QFileInfo(own).fileName() == QStringLiteral("tests")
        ? QDir::cleanPath(own + QStringLiteral("/../bin"))
        : own;
}

} // namespace world

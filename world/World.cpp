#include "World.h"

#include "Descendants.h"
#include "HostReadiness.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>

#include <cstring>

namespace world {

World::World(const PrivateFilesystem& filesystem)
    : m_filesystem(filesystem)
{
}

World::~World()
{
    stop();
}

QString World::start(const WorldOptions& options)
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
    QString problem = startBuses();
    if (problem.isEmpty()) {
        exportEnvironment();
        problem = startHost();
    }
    return problem;
}

QString World::startBuses()
{
    const QString folder = m_filesystem.folder().path();
    const QString problem = m_systemBus.start(MessageBus::Kind::System, folder, m_options.output);
    return problem.isEmpty() ? m_sessionBus.start(MessageBus::Kind::Session, folder, m_options.output)
                             : problem;
}

void World::exportEnvironment() const
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_systemBus.address().toLocal8Bit());
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_sessionBus.address().toLocal8Bit());
    qputenv("PATH", QFile::encodeName(binFolder()) + ':' + qgetenv("PATH"));
}

QString World::startHost()
{
    Command command;
    command.arguments = QStringList{ m_options.host, QStringLiteral("--state"), stateFolder() };
    command.output = m_options.output;
    const int reason = m_host.start(command);
    if (reason != 0) {
        return QStringLiteral("the host %1 cannot be started: %2")
            .arg(m_options.host, QString::fromLocal8Bit(std::strerror(reason)));
    }
    HostReadiness readiness(m_sessionBus.address());
    const HostReadiness::Outcome outcome =
        readiness.wait(m_host.descriptor(), m_options.cancel, m_options.limit);
    switch (outcome) {
    case HostReadiness::Outcome::Ready:
        return {};
    case HostReadiness::Outcome::Ended:
        return QStringLiteral("the host %1 ended with status %2 before it was ready")
            .arg(m_options.host)
            .arg(m_host.wait().value_or(0));
    case HostReadiness::Outcome::Cancelled:
        return QStringLiteral("interrupted while the host was starting");
    case HostReadiness::Outcome::TooLate:
        break;
    }
    return QStringLiteral("the host %1 did not take its name %2 within %3 s")
        .arg(m_options.host, HostReadiness::name())
        .arg(std::chrono::duration_cast<std::chrono::seconds>(m_options.limit).count());
}

QString World::restartHost()
{
    stopHost();
    return startHost();
}

void World::stopHost()
{
    m_host.end(HostGrace);
}

bool World::hostRuns()
{
    return m_host.isRunning() && !m_host.wait(std::chrono::milliseconds::zero());
}

void World::stop()
{
    endDescendants({ m_host.pid(), m_systemBus.pid(), m_sessionBus.pid() }, ChildProcess::Grace);
    stopHost();
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

QString World::binFolder()
{
    // Tests lie beside "bin", our programs in it.
    const QString own = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).path();
    return QFileInfo(own).fileName() == QStringLiteral("tests")
        ? QDir::cleanPath(own + QStringLiteral("/../bin"))
        : own;
}

} // namespace world

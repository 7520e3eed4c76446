#include "DemoServers.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QSignalSpy>

DemoServers::~DemoServers()
{
    for (const QString& server : m_servers.keys()) {
        end(server);
    }
}

bool DemoServers::start(const QString& server, const QString& module)
{
    QDBusServiceWatcher watcher("tov.base." + server, QDBusConnection::sessionBus(),
                                QDBusServiceWatcher::WatchForRegistration);
    QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
    const auto process = std::make_shared<QProcess>();
    m_servers.insert(server, process);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(ITEM_TEST_SERVER, { server, statePath(server), module });
    return registered.wait(30'000);
}

void DemoServers::end(const QString& server)
{
    const auto process = m_servers.value(server);
    process->terminate();
    process->waitForFinished();
}

void DemoServers::kill(const QString& server)
{
    const auto process = m_servers.value(server);
    process->kill();
    process->waitForFinished();
}

void DemoServers::removeState(const QString& server) const
{
    QDir(statePath(server)).removeRecursively();
}

#pragma once

#include "world/MessageBus.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

inline const QString BusName = QStringLiteral("tov.base.demo");

/// A server process with a demonstration module, on a session bus of its own. One for each test program: Qt
/// keeps the first session bus that it saw.
class DemoServer
{
public:
    /// What went wrong; empty when the bus is there.
    [[nodiscard]] QString startBus()
    {
        const QString error = m_bus.start(world::MessageBus::Kind::Session, m_folder.path());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toUtf8());
        return error;
    }
    void stopBus() { m_bus.stop(); }

    /// @return whether the server came onto the bus.
    [[nodiscard]] bool startServer()
    {
        QDBusServiceWatcher watcher(BusName, QDBusConnection::sessionBus(),
                                    QDBusServiceWatcher::WatchForRegistration);
        QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
        m_server.setProcessChannelMode(QProcess::MergedChannels);
        m_server.start(QStringLiteral(ITEM_TEST_SERVER),
                       { QStringLiteral("demo"), filePath(QStringLiteral("state")), QStringLiteral("mod") });
        return registered.wait();
    }
    void stopServer()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }
    void removeState() const { QDir(filePath(QStringLiteral("state"))).removeRecursively(); }

    [[nodiscard]] QProcess& process() { return m_server; }
    [[nodiscard]] QString filePath(const QString& name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
    world::MessageBus m_bus;
    QProcess m_server;
};

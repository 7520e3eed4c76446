#pragma once

#include "PrivateBus.h"

#include <QDBusMessage>
#include <QHash>
#include <QProcess>

#include <memory>

inline const QString DemoBusName = "tov.base.demo";

/// A call of its interface, without a client's library.
inline QDBusMessage demoRequest(const QString& method, const QVariantList& arguments)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(DemoBusName, "/tov/base/Items", "tov.base.Items", method);
    message.setArguments(arguments);
    return message;
}

/// Server processes with demonstration items, on a session bus of their own.
class DemoServers
{
public:
    DemoServers() = default;
    ~DemoServers();
    DemoServers(const DemoServers&) = delete;
    DemoServers& operator=(const DemoServers&) = delete;

    /// What went wrong; empty when the bus is there.
    [[nodiscard]] QString startBus() { return m_bus.start(); }

    /// @return whether the server came onto the bus.
    [[nodiscard]] bool start(const QString& server = "demo", const QString& module = "mod");
    void end(const QString& server = "demo");
    void kill(const QString& server = "demo");
    /// Forgets what a server has stored.
    void removeState(const QString& server = "demo") const;
    [[nodiscard]] QProcess& process() { return *m_servers["demo"]; }
    [[nodiscard]] QString statePath(const QString& server) const { return m_folder.filePath(server); }

private:
    QTemporaryDir m_folder;
    PrivateSessionBus m_bus;
    QHash<QString, std::shared_ptr<QProcess>> m_servers;
};

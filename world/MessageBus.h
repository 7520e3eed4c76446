#pragma once

#include "ChildProcess.h"

#include <QString>

namespace world {

/// A private D-Bus: a dbus-daemon process of its own that lets everybody of this user do everything, and
/// starts no services by itself. It ends with this object, and with this process however that ends.
class MessageBus
{
public:
    enum class Kind { System, Session };

    /// The longest path that a socket may have, in bytes (sockaddr_un, without its closing zero).
    static constexpr int LongestSocketPath = 107;

    /// Starts the daemon and waits until it listens.
    /// @param folder an existing folder of the caller's; takes the socket and the configuration, which are
    ///        removed at the end.
    /// @param output a descriptor for what the daemon prints; -1 leaves it on our own standard error.
    [[nodiscard]] base::Result<> start(Kind kind, const QString& folder, int output = -1);
    void stop();

    MessageBus() = default;
    ~MessageBus();
    MessageBus(const MessageBus&) = delete;
    MessageBus& operator=(const MessageBus&) = delete;

    /// As DBUS_SYSTEM_BUS_ADDRESS or DBUS_SESSION_BUS_ADDRESS takes it.
    [[nodiscard]] QString address() const { return m_address; }
    [[nodiscard]] pid_t pid() const { return m_daemon.pid(); }

private:
    ChildProcess m_daemon;
    QString m_address;
    QString m_socket;
    QString m_configuration;
};

} // namespace world

#pragma once

#include <QDBusConnection>
#include <QString>

#include <chrono>

namespace world {

/// Tells when the host, or another server of the framework, is ready: it takes its name on the session bus
/// last.
class HostReadiness
{
public:
    enum class Outcome {
        Ready,
        Ended, ///< the server's process ended first
        Cancelled,
        TooLate
    };

    /// The host's name.
    [[nodiscard]] static QString name() { return QStringLiteral("tov.base.bluetoothlauncher"); }

    /// @param busName what the server is going to take.
    explicit HostReadiness(const QString& sessionBusAddress, QString busName = name());
    ~HostReadiness();
    HostReadiness(const HostReadiness&) = delete;
    HostReadiness& operator=(const HostReadiness&) = delete;

    /// @param process a descriptor that becomes readable when the server has ended.
    /// @param cancel a descriptor that gives up when it becomes readable; -1 is none.
    Outcome wait(int process, int cancel, std::chrono::milliseconds limit);

private:
    QString m_busName;
    QDBusConnection m_bus; ///< one of our own: the process-wide one would stay open after the bus's end
};

} // namespace world

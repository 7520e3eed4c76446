#pragma once

#include <QString>

#include <chrono>

namespace world {

enum class Readiness {
    Ready,
    Ended, ///< the server's process ended first
    Cancelled,
    TooLate
};

/// The host's name on the session bus.
[[nodiscard]] QString hostName();

/// Waits until a server of the framework, the host or another one, is ready: it takes its name last.
/// @param process a descriptor that becomes readable when the server has ended.
/// @param cancel a descriptor that gives up when it becomes readable; -1 is none.
[[nodiscard]] Readiness awaitServer(const QString& sessionBusAddress, const QString& busName, int process,
                                    int cancel, std::chrono::milliseconds limit);

/// Returns when a name is not on the bus: a process that was killed leaves it a moment later.
void awaitAbsence(const QString& sessionBusAddress, const QString& busName, std::chrono::milliseconds limit);

} // namespace world

#pragma once

#include "ChildProcess.h"

#include <csignal>

namespace world {

/// Who gets the signals that are sent to us while we wait for a foreground process.
enum class SignalTarget {
    Process, ///< the process that we wait for; it is killed when it is still there after the grace
    Child ///< the child of it, because it passes nothing on itself; it takes as long as it likes
};

/// Takes the signals that ask a program to end, so that it can end what it started, in order. While it
/// exists, they are only noticed here.
class ForegroundSignals
{
public:
    ForegroundSignals();
    ~ForegroundSignals();
    ForegroundSignals(const ForegroundSignals&) = delete;
    ForegroundSignals& operator=(const ForegroundSignals&) = delete;

    /// Readable when a signal came.
    [[nodiscard]] int descriptor() const { return m_signals.get(); }
    /// @return the number of a signal that came; 0 when none did.
    [[nodiscard]] int taken() const;

    /// Waits for a process in our own foreground process group, as system(3) does: Ctrl-C is the process's
    /// business alone, which the terminal tells by itself. A signal that somebody sent to us goes on.
    /// Runs an event loop meanwhile.
    /// @return its status as a shell counts it.
    int supervise(ChildProcess& process, SignalTarget target = SignalTarget::Process) const;

private:
    FileDescriptor m_signals;
    sigset_t m_before{};
};

} // namespace world

#pragma once

#include "FileDescriptor.h"
#include "Result.h"

#include <QStringList>

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <vector>

namespace world {

/// What is started, and where it stands.
struct Command
{
    /// Where a process belongs.
    enum class Place {
        Foreground, ///< beside us: our terminal, our process group, our standard streams
        Background ///< a session of its own without a terminal; reads nothing
    };
    QStringList arguments; ///< the first is the program, looked for in PATH when it has no slash
    Place place = Place::Background;
    int input = -1; ///< standard input; -1 leaves ours, where there is a terminal
    int output = -1; ///< takes standard output and error; -1 leaves ours
    std::vector<int> inherited = {}; ///< more descriptors that stay open, under the same numbers
    int deathSignal = SIGTERM; ///< what the kernel sends when we die first
};

/// A process of ours, which the kernel ends when we die first. It starts with default signal
/// dispositions and an empty mask. The destructor ends it.
///
/// Not QProcess: that one answers SIGCHLD for the whole program and wants an event loop, and both get in the
/// way of a program that has to wait for strangers' orphans as well.
class ChildProcess
{
public:
    /// How long a process may take over SIGTERM before it gets SIGKILL.
    static constexpr std::chrono::milliseconds Grace{ 3000 };

    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Returns once the program runs; else why not: Failure::NoSuchItem when there is no such program.
    [[nodiscard]] base::Result<> start(const Command& command);

    /// Waits for the end of the process, for ever without a limit.
    /// @return its status as a shell counts it, 128 and the number for a signal; none while it runs.
    std::optional<int> wait(std::optional<std::chrono::milliseconds> limit = std::nullopt);

    /// Ends the process: SIGTERM, and SIGKILL when it is still there after the grace.
    void end(std::chrono::milliseconds grace = Grace);
    void signal(int number) const;

    /// 0 when there is none; kept after its end.
    [[nodiscard]] pid_t pid() const { return m_pid; }
    [[nodiscard]] bool isRunning() const { return m_pid > 0 && !m_status; }
    /// Becomes readable when the process has ended.
    [[nodiscard]] int descriptor() const { return m_descriptor.get(); }

private:
    pid_t m_pid = 0;
    FileDescriptor m_descriptor;
    std::optional<int> m_status;
};

} // namespace world

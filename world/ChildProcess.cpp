#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <vector>

namespace world {

namespace {

using Clock = std::chrono::steady_clock;

/// The words as exec() takes them; pointers into "storage", null at the end.
std::vector<char*> pointers(std::vector<QByteArray>& storage)
{
    std::vector<char*> result;
    result.reserve(storage.size() + 1);
    for (QByteArray& word : storage) {
        result.push_back(word.data());
    }
    result.push_back(nullptr);
    return result;
}

void resetSignals()
{
    for (int number = 1; number < NSIG; ++number) {
        ::signal(number, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

void leaveTerminal()
{
    setsid();
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    // A descriptor of our caller's must not stay open in a process that nobody sees.
    close_range(STDERR_FILENO + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC);
}

/// Between fork() and exec(): only calls that are safe there. Returns when exec() failed.
void becomeProgram(const Command& command, char* const* arguments, pid_t parent)
{
    resetSignals();
    prctl(PR_SET_PDEATHSIG, command.deathSignal);
    if (getppid() != parent) {
        _exit(128 + SIGTERM); // it died before the kernel knew of our wish
    }
    if (command.input >= 0) {
        dup2(command.input, STDIN_FILENO);
    }
    if (command.output >= 0) {
        dup2(command.output, STDOUT_FILENO);
        dup2(command.output, STDERR_FILENO);
    }
    if (command.place == Command::Place::Background) {
        leaveTerminal();
    }
    for (const int descriptor : command.inherited) {
        fcntl(descriptor, F_SETFD, 0);
    }
    execvp(arguments[0], arguments);
}

tl::unexpected<base::Error> cannotRun(int reason)
{
    return base::error(QString::fromLocal8Bit(std::strerror(reason)),
                       reason == ENOENT ? base::Failure::NoSuchItem : base::Failure::Failed);
}

int statusOf(int raw)
{
    return WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
}

} // namespace

Pipe Pipe::create(int flags)
{
    std::array<int, 2> ends{ -1, -1 };
    if (pipe2(ends.data(), O_CLOEXEC | flags) != 0) {
        return {};
    }
    return { FileDescriptor(ends[0]), FileDescriptor(ends[1]) };
}

ChildProcess::~ChildProcess()
{
    end();
}

base::Result<> ChildProcess::start(const Command& command)
{
    std::vector<QByteArray> words;
    words.reserve(static_cast<size_t>(command.arguments.size()));
    for (const QString& argument : command.arguments) {
        words.push_back(argument.toLocal8Bit());
    }
    const std::vector<char*> arguments = pointers(words);

    // The child's end closes by itself when exec() succeeds; otherwise errno comes through.
    Pipe failure = Pipe::create();
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        return cannotRun(errno);
    }
    if (child == 0) {
        becomeProgram(command, arguments.data(), parent);
        const int reason = errno;
        const ssize_t written = write(failure.writing.get(), &reason, sizeof reason);
        _exit(written == sizeof reason ? 127 : 126);
    }
    failure.writing.reset();
    int reason = 0;
    ssize_t got = 0;
    do {
        got = read(failure.reading.get(), &reason, sizeof reason);
    } while (got < 0 && errno == EINTR);
    if (got == sizeof reason) {
        waitpid(child, nullptr, 0);
        return cannotRun(reason);
    }
    m_pid = child;
    m_status.reset();
    m_descriptor = FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    return {};
}

std::optional<int> ChildProcess::wait(std::optional<std::chrono::milliseconds> limit)
{
    if (m_pid <= 0 || m_status) {
        return m_status;
    }
    const auto deadline = Clock::now() + limit.value_or(std::chrono::milliseconds::zero());
    while (limit) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd ended{ m_descriptor.get(), POLLIN, 0 };
        const int ready = poll(&ended, 1, static_cast<int>(left > 0 ? left : 0));
        if (ready > 0) {
            break;
        }
        if (ready == 0 || errno != EINTR) {
            return std::nullopt;
        }
    }
    int raw = 0;
    pid_t reaped = 0;
    do {
        reaped = waitpid(m_pid, &raw, 0);
    } while (reaped < 0 && errno == EINTR);
    m_status = statusOf(raw);
    m_descriptor.reset();
    return m_status;
}

void ChildProcess::end(std::chrono::milliseconds grace)
{
    if (!isRunning()) {
        return;
    }
    signal(SIGTERM);
    signal(SIGCONT); // a stopped process would not see it
    if (!wait(grace)) {
        signal(SIGKILL);
        wait();
    }
}

void ChildProcess::signal(int number) const
{
    if (isRunning()) {
        kill(m_pid, number);
    }
}

} // namespace world

#include "Foreground.h"

#include "Descendants.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>

namespace world {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

sigset_t endingSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : { SIGINT, SIGQUIT, SIGTERM, SIGHUP }) {
        sigaddset(&set, number);
    }
    return set;
}

bool readSignal(int fd, signalfd_siginfo* signal)
{
    return read(fd, signal, sizeof *signal) == sizeof *signal;
}

/// The terminal sends Ctrl-C and Ctrl-\ to everyone in the foreground at once. Its own end it tells only to
/// the leader of its session, which may be us.
bool everyoneHasIt(const signalfd_siginfo& signal)
{
    return signal.ssi_code == SI_KERNEL && (signal.ssi_signo == SIGINT || signal.ssi_signo == SIGQUIT);
}

void pass(const signalfd_siginfo& signal, const ChildProcess& process, SignalTarget target)
{
    const int number = static_cast<int>(signal.ssi_signo);
    if (target == SignalTarget::Process) {
        process.signal(number);
        return;
    }
    const std::vector<pid_t> below = descendants(process.pid());
    if (!below.empty()) {
        kill(below.front(), number);
    }
}

int timeLeft(const std::optional<Clock::time_point>& deadline)
{
    if (!deadline) {
        return -1;
    }
    const auto left = std::chrono::duration_cast<milliseconds>(*deadline - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

} // namespace

ForegroundSignals::ForegroundSignals()
{
    const sigset_t set = endingSignals();
    sigprocmask(SIG_BLOCK, &set, &m_before);
    m_signals = FileDescriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

ForegroundSignals::~ForegroundSignals()
{
    while (taken() != 0) { } // one that came meanwhile must not end us now that all is done
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
}

int ForegroundSignals::taken() const
{
    signalfd_siginfo signal{};
    return readSignal(m_signals.get(), &signal) ? static_cast<int>(signal.ssi_signo) : 0;
}

int ForegroundSignals::supervise(ChildProcess& process, const Supervision& how) const
{
    std::optional<Clock::time_point> deadline;
    for (;;) {
        std::vector<pollfd> ready{ { process.descriptor(), POLLIN, 0 }, { m_signals.get(), POLLIN, 0 } };
        for (const Attendant* attendant : how.attendants) {
            ready.push_back(attendant->awaits());
        }
        const int count = poll(ready.data(), ready.size(), timeLeft(deadline));
        if (count > 0 && ready[0].revents != 0) {
            return process.wait().value_or(1);
        }
        if (count == 0) {
            process.end(milliseconds::zero());
            return process.wait().value_or(1);
        }
        for (std::size_t i = 0; count > 0 && i < how.attendants.size(); ++i) {
            if (ready[i + 2].revents != 0) {
                how.attendants[i]->attend();
            }
        }
        signalfd_siginfo signal{};
        while (readSignal(m_signals.get(), &signal)) {
            if (everyoneHasIt(signal)) {
                continue;
            }
            pass(signal, process, how.target);
            if (how.grace && !deadline) {
                deadline = Clock::now() + *how.grace;
            }
        }
    }
}

} // namespace world

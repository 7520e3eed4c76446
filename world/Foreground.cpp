#include "Foreground.h"

#include "Descendants.h"

#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <sys/signalfd.h>
#include <sys/wait.h>

#include <csignal>
#include <vector>

namespace world {

namespace {

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

int ForegroundSignals::supervise(ChildProcess& process, SignalTarget target) const
{
    QEventLoop loop;
    const QSocketNotifier ended(process.descriptor(), QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &loop, [&process] { process.end(milliseconds::zero()); });
    QObject::connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
    const QSocketNotifier signalled(m_signals.get(), QSocketNotifier::Read);
    QObject::connect(&signalled, &QSocketNotifier::activated, &loop, [&] {
        signalfd_siginfo signal{};
        while (readSignal(m_signals.get(), &signal)) {
            if (everyoneHasIt(signal)) {
                continue;
            }
            pass(signal, process, target);
            if (target == SignalTarget::Process && !deadline.isActive()) {
                deadline.start(ChildProcess::Grace);
            }
        }
    });
    loop.exec();
    return process.wait().value_or(1);
}

} // namespace world

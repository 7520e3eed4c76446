#include "EndingSignals.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace base {
namespace {

// What the handler needs; set before it is installed.
pid_t servingProcess = 0;
int wakeDescriptor = -1;

constexpr std::array<int, 2> Signals{ SIGTERM, SIGINT };

extern "C" void handleEndingSignal(int number)
{
    // A copy of this process, on its way to execute another program, shares the pipe: it ends by itself and
    // must not end the process that it was copied from.
    if (getpid() != servingProcess) {
        _exit(128 + number);
    }
    const int savedError = errno;
    [[maybe_unused]] const ssize_t written = write(wakeDescriptor, "", 1);
    errno = savedError;
}

void setHandler(int number, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    // An interrupted wait for a child would leave it unreaped.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

std::array<int, 2> openPipe()
{
    std::array<int, 2> ends{ -1, -1 };
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("no pipe for signals: %s", qPrintable(qt_error_string(errno)));
    }
    return ends;
}

} // namespace

EndingSignals::EndingSignals(QObject* parent)
    : QObject(parent)
    , m_pipe(openPipe())
    , m_notifier(m_pipe[0], QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &EndingSignals::drain);
    servingProcess = getpid();
    wakeDescriptor = m_pipe[1];
    for (const int number : Signals) {
        setHandler(number, handleEndingSignal);
    }
}

EndingSignals::~EndingSignals()
{
    for (const int number : Signals) {
        setHandler(number, SIG_DFL);
    }
    m_notifier.setEnabled(false);
    for (const int descriptor : m_pipe) {
        close(descriptor);
    }
}

void EndingSignals::drain()
{
    std::array<char, 16> bytes{};
    while (read(m_pipe[0], bytes.data(), bytes.size()) > 0) { }
    Q_EMIT received();
}

void resetInheritedSignals()
{
    setHandler(SIGCHLD, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace base

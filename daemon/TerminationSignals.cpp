#include "TerminationSignals.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace bt {

namespace {

constexpr std::array<int, 2> Caught{ SIGTERM, SIGINT };

volatile std::sig_atomic_t writingEnd = -1;

// In a signal handler only write() is allowed; the event loop does the rest.
void wake(int /*number*/)
{
    const int interrupted = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(writingEnd, &byte, 1);
    errno = interrupted;
}

void handle(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigset_t caught;
    sigemptyset(&caught);
    for (const int number : Caught) {
        ::sigaction(number, &action, nullptr);
        sigaddset(&caught, number);
    }
    // A blocked mask is inherited through exec().
    ::sigprocmask(SIG_UNBLOCK, &caught, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent)
{
    if (::pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("no pipe for signals: %s", std::strerror(errno));
    }
    writingEnd = m_pipe[1];
    m_notifier = new QSocketNotifier(m_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TerminationSignals::drain);
    handle(wake);
}

TerminationSignals::~TerminationSignals()
{
    handle(SIG_DFL);
    delete m_notifier;
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

void TerminationSignals::drain()
{
    std::array<char, 16> bytes{};
    while (::read(m_pipe[0], bytes.data(), bytes.size()) > 0) { }
    Q_EMIT received();
}

} // namespace bt

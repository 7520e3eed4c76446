#include "TerminalSignals.h"

#include <initializer_list>
#include <sys/signalfd.h>
#include <unistd.h>

namespace itemctl {

TerminalSignals::TerminalSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : { SIGWINCH, SIGINT, SIGQUIT, SIGTERM, SIGHUP }) {
        sigaddset(&set, signal);
    }
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    m_descriptor = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

TerminalSignals::~TerminalSignals()
{
    ::close(m_descriptor);
}

int TerminalSignals::next() const
{
    signalfd_siginfo information{};
    const auto size = ::read(m_descriptor, &information, sizeof information);
    return size == sizeof information ? static_cast<int>(information.ssi_signo) : 0;
}

} // namespace itemctl

#include "Terminal.h"

#include <unistd.h>

#include <csignal>

namespace world {

Terminal::Terminal()
    : m_present(tcgetattr(STDIN_FILENO, &m_before) == 0 && tcgetpgrp(STDIN_FILENO) == getpgrp())
{
}

Terminal::~Terminal()
{
    if (!m_present) {
        return;
    }
    // Whoever changes a terminal from the background is stopped, unless it does not hear that.
    sigset_t stop;
    sigset_t before;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTTOU);
    sigprocmask(SIG_BLOCK, &stop, &before);
    tcsetpgrp(STDIN_FILENO, getpgrp());
    tcsetattr(STDIN_FILENO, TCSADRAIN, &m_before);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

} // namespace world

#include "Terminal.h"

#include "Descendants.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

namespace world {

namespace {

std::optional<termios> settingsIfOurs()
{
    termios settings{};
    if (tcgetattr(STDIN_FILENO, &settings) != 0 || tcgetpgrp(STDIN_FILENO) != getpgrp()) {
        return std::nullopt;
    }
    return settings;
}

/// Whoever was stopped and went on in the background has lost the terminal to the shell that it came from.
bool belongsToOthers(pid_t group)
{
    if (group == getpgrp() || (kill(-group, 0) != 0 && errno == ESRCH)) {
        return false;
    }
    const std::vector<pid_t> below = descendants(getpid());
    return std::none_of(below.begin(), below.end(), [group](pid_t pid) { return getpgid(pid) == group; });
}

} // namespace

Terminal::Terminal()
    : m_before(settingsIfOurs())
{
}

Terminal::~Terminal()
{
    restore();
}

void Terminal::restore() const
{
    if (!m_before || belongsToOthers(tcgetpgrp(STDIN_FILENO))) {
        return;
    }
    // Whoever changes a terminal from the background is stopped, unless it does not hear that.
    sigset_t stop;
    sigset_t before;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTTOU);
    sigprocmask(SIG_BLOCK, &stop, &before);
    tcsetpgrp(STDIN_FILENO, getpgrp());
    tcsetattr(STDIN_FILENO, TCSADRAIN, &*m_before);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

} // namespace world

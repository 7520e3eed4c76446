#pragma once

#include <termios.h>

namespace world {

/// The terminal, if there is one, as it was: a command that a signal ended may have left it in raw mode, or
/// in the hands of a process group that is gone.
class Terminal
{
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

private:
    bool m_present = false;
    termios m_before{};
};

} // namespace world

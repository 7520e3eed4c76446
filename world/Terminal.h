#pragma once

#include <termios.h>

#include <optional>

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

    /// Gives it back as it was, to our own process group.
    void restore() const;

private:
    std::optional<termios> m_before; ///< none when there is no terminal, or another group has it
};

} // namespace world

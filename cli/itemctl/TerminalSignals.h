#pragma once

#include <csignal>

namespace itemctl {

/// The terminal's signals as something to read in the event loop: its new size (SIGWINCH), and those that end
/// the program, before which it has to give the terminal back. Threads that are there already still get them
/// the other way, so this comes first.
class TerminalSignals
{
public:
    TerminalSignals();
    ~TerminalSignals();
    TerminalSignals(const TerminalSignals&) = delete;
    TerminalSignals& operator=(const TerminalSignals&) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    /// The next signal that has come; 0 when there is none.
    [[nodiscard]] int next() const;

private:
    int m_descriptor = -1;
};

} // namespace itemctl

#pragma once

#include "Output.h"

#include <QCoreApplication>

namespace itemctl {

/// Ends the event loop with an exit status. Only the first reason counts: the loop may still deliver what
/// came in the same turn.
class Ending
{
public:
    explicit Ending(Output& output)
        : m_output(output)
    {
    }

    [[nodiscard]] bool isReached() const { return m_isReached; }

    void reach(ExitStatus status)
    {
        if (!m_isReached) {
            QCoreApplication::exit(static_cast<int>(status));
        }
        m_isReached = true;
    }

    void reach(const Failure& failure)
    {
        if (!m_isReached) {
            m_output.note(failure.message);
        }
        reach(failure.status);
    }

private:
    Output& m_output;
    bool m_isReached = false;
};

} // namespace itemctl

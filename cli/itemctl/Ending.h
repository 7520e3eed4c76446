#pragma once

#include "Common.h"
#include "LiveItems.h"
#include "common/Output.h"

#include <QTimer>

#include <functional>
#include <optional>

namespace itemctl {

/// Ends the event loop with an exit status: when it is told to, and when the bus is lost. Only the first
/// reason counts: the loop may still deliver what came in the same turn.
class Ending : public QObject
{
public:
    Ending(LiveItems& items, Output& output);

    [[nodiscard]] bool isReached() const { return m_status.has_value(); }
    /// Runs the event loop until it is reached, if it is not yet.
    [[nodiscard]] ExitStatus await() const;
    void reach(ExitStatus status);
    void reach(const base::Error& error);
    /// When that time is over, \a act has to reach it.
    void awaitTimeout(std::chrono::milliseconds timeout, const std::function<void()>& act);

private:
    Output& m_output;
    QTimer m_timer;
    std::optional<ExitStatus> m_status;
};

} // namespace itemctl

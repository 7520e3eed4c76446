#include "Ending.h"

#include <QCoreApplication>

namespace itemctl {

Ending::Ending(LiveItems& items, Output& output)
    : m_output(output)
{
    connect(&items, &LiveItems::failed, this,
            [this](const base::Error& error) { m_output.note(error.text); });
    connect(&items, &LiveItems::busLost, this, [this] {
        reach(base::Error{ QStringLiteral("the session bus went away"), base::Failure::NoServer });
    });
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
}

void Ending::reach(ExitStatus status)
{
    if (!isReached()) {
        m_status = status;
        QCoreApplication::exit();
    }
}

ExitStatus Ending::await() const
{
    if (!isReached()) {
        QCoreApplication::exec();
    }
    return *m_status;
}

void Ending::reach(const base::Error& error)
{
    if (!isReached()) {
        reach(m_output.fail(error));
    }
}

void Ending::awaitTimeout(std::chrono::milliseconds timeout, const std::function<void()>& act)
{
    connect(&m_timer, &QTimer::timeout, this, act);
    m_timer.start(timeout);
}

} // namespace itemctl

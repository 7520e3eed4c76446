#include "TopHighlights.h"

#include <algorithm>

namespace itemctl {
namespace {

constexpr std::chrono::milliseconds HighlightTime{ 1'500 };

} // namespace

TopHighlights::TopHighlights()
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TopHighlights::endSome);
}

void TopHighlights::add(int position)
{
    m_ends[position].setRemainingTime(HighlightTime);
    if (!m_timer.isActive()) {
        m_timer.start(HighlightTime);
    }
}

void TopHighlights::endSome()
{
    auto next = std::chrono::nanoseconds::max();
    for (auto end = m_ends.begin(); end != m_ends.end();) {
        if (end->hasExpired()) {
            end = m_ends.erase(end);
        } else {
            next = std::min(next, end->remainingTimeAsDuration());
            ++end;
        }
    }
    if (!m_ends.isEmpty()) {
        m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(next));
    }
    Q_EMIT faded();
}

} // namespace itemctl

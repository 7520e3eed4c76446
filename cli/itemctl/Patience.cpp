#include "Patience.h"

#include "client/KELClientInterface.h"

#include <algorithm>

namespace itemctl {
namespace {

/// A server gets this long for an answer however short the wait is.
constexpr std::chrono::milliseconds ShortestAnswer{ 1'000 };

} // namespace

Patience::Patience(std::optional<std::chrono::milliseconds> limit)
    : m_limit(limit)
    , m_begin(std::chrono::steady_clock::now())
{
}

std::chrono::milliseconds Patience::ofAnAnswer() const
{
    return std::max(m_limit.value_or(KELClientInterface::DefaultTimeout), ShortestAnswer);
}

std::chrono::milliseconds Patience::left() const
{
    using std::chrono::milliseconds;
    const auto end = m_begin + m_limit.value_or(milliseconds(0));
    const auto left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
    return std::max(left, milliseconds(0));
}

QString Patience::text() const
{
    const auto limit = m_limit.value_or(std::chrono::milliseconds(0));
    return QStringLiteral("%1 s").arg(static_cast<double>(limit.count()) / 1000);
}

} // namespace itemctl

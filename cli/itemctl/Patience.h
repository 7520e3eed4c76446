#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace itemctl {

/// How long all of a request may take, from now on.
class Patience
{
public:
    /// Without a limit it has no end.
    explicit Patience(std::optional<std::chrono::milliseconds> limit);

    /// What one answer of a server may take: all the time that there is, and a while however short that is.
    [[nodiscard]] std::chrono::milliseconds ofAnAnswer() const;
    [[nodiscard]] bool hasEnd() const { return m_limit.has_value(); }
    [[nodiscard]] bool isOver() const { return hasEnd() && left().count() == 0; }
    /// Of a patience that has an end.
    [[nodiscard]] std::chrono::milliseconds left() const;
    /// "10 s"
    [[nodiscard]] QString text() const;

private:
    std::optional<std::chrono::milliseconds> m_limit;
    std::chrono::steady_clock::time_point m_begin;
};

} // namespace itemctl

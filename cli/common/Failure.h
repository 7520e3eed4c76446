#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace cli {

/// What a program tells its caller.
enum class ExitStatus {
    Done = 0,
    Failed = 1, ///< refused, or failed for a reason of its own
    Usage = 2, ///< the command line is not understood
    NoSuchItem = 3, ///< nothing of that name, or several
    NoAnswer = 4, ///< time was over, or the server does not answer
    NoServer = 5 ///< no bus, or no server on it
};

/// Why something could not be done, for the person at the keyboard.
struct Failure
{
    ExitStatus status = ExitStatus::Failed;
    QString message; ///< one line, without the program's name
};

/// A value, or the failure that stands in its place.
template <typename T>
class Expected
{
public:
    Expected(T value)
        : m_value(std::move(value))
    {
    }
    Expected(Failure failure)
        : m_failure(std::move(failure))
    {
    }

    explicit operator bool() const { return m_value.has_value(); }
    const T& operator*() const { return *m_value; }
    T& operator*() { return *m_value; }
    const T* operator->() const { return &*m_value; }
    T* operator->() { return &*m_value; }
    [[nodiscard]] const Failure& failure() const { return m_failure; }

private:
    std::optional<T> m_value;
    Failure m_failure;
};

} // namespace cli

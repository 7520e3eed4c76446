#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace ipc {

/// Why something failed.
struct Error
{
    enum class Kind {
        NoSuchItem, ///< the server has no item of that name
        Ambiguous, ///< the name fits several items
        Refused, ///< the value or the call was refused; the message says why
        NoAnswer, ///< the server did not answer in time
        NoServer, ///< the server is not on the bus, or there is no bus
        Failed ///< anything else
    };
    Kind kind = Kind::Failed;
    QString message; ///< names the item or file and what would be right; for a person
};

/// A value, or the error that stands in its place.
template <typename T>
class Outcome
{
public:
    Outcome(T value)
        : m_value(std::move(value))
    {
    }
    Outcome(Error error)
        : m_error(std::move(error))
    {
    }
    explicit operator bool() const { return m_value.has_value(); }
    const T& operator*() const { return *m_value; }
    const T* operator->() const { return &*m_value; }
    [[nodiscard]] const Error& error() const { return m_error; }

private:
    std::optional<T> m_value;
    Error m_error;
};

/// The value of what has none.
struct Done
{
};

} // namespace ipc

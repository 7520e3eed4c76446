#pragma once

#include <QMetaEnum>
#include <QString>

#include <tl/expected.hpp>

#include <utility>

namespace base {
Q_NAMESPACE

/// What kind of thing went wrong: what a program's exit status or the name of a D-Bus error is made from.
enum class Failure {
    Failed, ///< anything else; the text says why
    Usage, ///< the command line is not understood
    InvalidArgument,
    NoSuchItem, ///< nothing of that name, or several
    NoAnswer, ///< time was over, or the other side does not answer
    NoServer, ///< no bus, or not the wanted name on it
    NotReady, ///< the radio is not on
    InProgress, ///< something else has to end first
    NotPaired,
    NotConnected,
    NothingPending, ///< an answer without a question
    AlreadyRegistered,
    NotRegistered
};
Q_ENUM_NS(Failure)

/// Why something could not be done. It is made where the facts are known and printed once, where a person is.
struct Error
{
    QString text; ///< one line: the item or file, what was wrong and what would be right
    Failure kind = Failure::Failed;
    int line = 0; ///< from 1, in the file that was read; 0 when it is nowhere in particular
};

/// A value, or the error that stands in its place; of a command without a value, done or the error.
template <typename T = void>
using Result = tl::expected<T, Error>;

/// An error as what a function returns.
[[nodiscard]] inline tl::unexpected<Error> error(QString text, Failure kind = Failure::Failed, int line = 0)
{
    return tl::unexpected<Error>(Error{ std::move(text), kind, line });
}

} // namespace base

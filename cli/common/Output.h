#pragma once

#include "Result.h"

#include <QString>
#include <QStringList>

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

[[nodiscard]] ExitStatus statusOf(base::Failure failure);

/// Where results and reasons go. Results are UTF-8 lines on standard output, each written out at once;
/// reasons are "PROGRAM: …" lines on standard error.
class Output
{
public:
    explicit Output(QString program);

    /// Failed when the reader has gone or the disk is full; the reason was said.
    ExitStatus line(const QString& text);
    ExitStatus lines(const QStringList& texts);
    void note(const QString& message);
    /// Says why and gives the status back, so that a program can end with it.
    ExitStatus fail(const base::Error& error);

    [[nodiscard]] bool isTerminal() const { return m_isTerminal; }
    /// Columns of the terminal; 0 when lines are not to be cut.
    [[nodiscard]] int columns() const;

    /// The text dim or bold, where colour is wanted; otherwise the text alone.
    [[nodiscard]] QString dim(const QString& text) const;
    [[nodiscard]] QString bold(const QString& text) const;

private:
    QString m_program;
    bool m_isTerminal = false;
    bool m_hasColour = false;
};

} // namespace cli

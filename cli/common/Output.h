#pragma once

#include "Failure.h"

#include <QString>

namespace cli {

/// Where results and reasons go. Results are UTF-8 lines on standard output, each written out at once;
/// reasons are "PROGRAM: …" lines on standard error.
class Output
{
public:
    explicit Output(QString program);

    /// False when the reader has gone or the disk is full; the reason was said.
    bool line(const QString& text);
    void note(const QString& message);
    /// Says why and gives the status back, so that a command can end with it.
    ExitStatus fail(const Failure& failure);

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

#pragma once

#include "Failure.h"
#include "Item.h"

#include <QString>

namespace itemctl {

/// Where results and reasons go. Results are UTF-8 lines on standard output, each written out at once;
/// reasons are "itemctl: …" lines on standard error.
class Output
{
public:
    Output();

    /// False when the reader has gone or the disk is full; the reason was said.
    bool line(const QString& text);
    void note(const QString& message);
    /// Says why and gives the status back, so that a command can end with it.
    ExitStatus fail(const Failure& failure);

    [[nodiscard]] bool isTerminal() const { return m_isTerminal; }
    /// Columns of the terminal; 0 when lines are not to be cut.
    [[nodiscard]] int columns() const;

    /// How the item is named in a line for people: shortly on a terminal, where room is scarce, and with its
    /// full address elsewhere.
    [[nodiscard]] QString nameOf(const Item& item) const;
    /// The text dim or bold, where colour is wanted; otherwise the text alone.
    [[nodiscard]] QString dim(const QString& text) const;
    [[nodiscard]] QString bold(const QString& text) const;

private:
    bool m_isTerminal = false;
    bool m_hasColour = false;
};

} // namespace itemctl

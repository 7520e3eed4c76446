#pragma once

#include "Item.h"
#include "common/Output.h"

namespace itemctl {

/// Where results and reasons of this program go.
class Output : public cli::Output
{
public:
    Output()
        : cli::Output(QStringLiteral("itemctl"))
    {
    }

    /// How the item is named in a line for people: shortly on a terminal, where room is scarce, and with its
    /// full address elsewhere.
    [[nodiscard]] QString nameOf(const Item& item) const
    {
        return isTerminal() ? item.shortName() : item.address;
    }
};

} // namespace itemctl

#pragma once

#include "Common.h"
#include "Item.h"
#include "TopScreen.h"

#include <QString>

namespace itemctl {

/// A text that is typed for an item.
class TopPrompt
{
public:
    enum class State { Open, Sent, Left };

    /// @param text what there is to begin with
    /// @param choices labels of the values that the item can take; none for one that is not an enumeration
    explicit TopPrompt(Item item, QString text = {}, const QStringList& choices = {});

    State handle(const KeyPress& press);

    [[nodiscard]] const Item& item() const { return m_item; }
    [[nodiscard]] const QString& text() const { return m_text; }
    /// The prompt as a line; what is typed stands at its end.
    [[nodiscard]] QString line() const;

private:
    Item m_item;
    QString m_text;
    QString m_hint;
};

} // namespace itemctl

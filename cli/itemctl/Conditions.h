#pragma once

#include "Common.h"
#include "Item.h"
#include "Result.h"

#include <QRegularExpression>
#include <QString>
#include <QVariantMap>

namespace itemctl {

/// "ITEM=VALUE", "ITEM!=VALUE", "ITEM~REGEX", "ITEM:applicable" or "ITEM:inapplicable"; with "[*]" behind the
/// name of a list, that one of its rows is so, or that none is otherwise.
class Condition
{
public:
    /// Fails when the text has none of these forms, or its expression is not valid.
    static base::Result<Condition> parse(const QString& text);

    [[nodiscard]] const QString& text() const { return m_text; } ///< as it was written
    [[nodiscard]] const QString& item() const { return m_item; } ///< as it was written
    /// Whether it is about all rows of a list.
    [[nodiscard]] bool isAboutRows() const { return m_isAboutRows; }
    /// Of rows: whether each has to be so, and not one of them.
    [[nodiscard]] bool needsAllRows() const
    {
        return m_kind == Kind::Differs || m_kind == Kind::Inapplicable;
    }
    /// Whether boundTo() has to know the item's type.
    [[nodiscard]] bool comparesValue() const;
    [[nodiscard]] bool isAboutValue() const { return comparesValue() || m_kind == Kind::Matches; }

    /// Understands VALUE as the item's type has it: an enumeration's number, symbol or label, true and false,
    /// numbers. Fails when it can never be one of the item's values.
    [[nodiscard]] base::Result<Condition> boundTo(const QVariantMap& description) const;

    [[nodiscard]] bool holds(const Item& item) const;

private:
    enum class Kind { Equals, Differs, Matches, Applicable, Inapplicable };

    Kind m_kind = Kind::Equals;
    QString m_text;
    QString m_item;
    QString m_operand;
    bool m_isAboutRows = false;
    QRegularExpression m_expression;
};

} // namespace itemctl

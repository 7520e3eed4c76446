#pragma once

#include "EnumType.h"

#include <QString>
#include <QVariant>
#include <QVector>

#include <vector>

namespace ipc {

class Expression;

/// An item as expressions see it: they read its value, and it applies, or does not, because of one.
class ExpressionItem
{
public:
    virtual ~ExpressionItem() = default;

    [[nodiscard]] virtual const QVariant& value() const = 0;
    /// The values that an expression names as "enums.eSYMBOL".
    [[nodiscard]] virtual const QVector<EnumValue>& enumValues() const = 0;
    /// What messages call it.
    [[nodiscard]] virtual const QString& addressText() const = 0;

    /// Its expression has a new result, perhaps.
    virtual void applicabilityMayDiffer() = 0;

protected:
    /// Says that value() is another one now.
    void valueChanged();

private:
    friend class Applicability;

    std::vector<Expression*> m_readers; ///< expressions that the value is an input of
    void* m_object = nullptr; ///< the engine's, from the first question on that reads it
    bool m_isNew = true; ///< the engine has not seen the present value
};

} // namespace ipc

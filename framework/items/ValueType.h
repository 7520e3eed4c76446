#pragma once

#include "EnumType.h"
#include "Outcome.h"

#include <QRegularExpression>
#include <QString>
#include <QVariant>
#include <QVector>

namespace ipc {

/// What an item may hold: its type, and what binds clients on top of it.
class ValueType
{
public:
    /// An item that keeps the type of its first value; an invalid one makes an item that takes anything.
    static ValueType of(const QVariant& firstValue);
    static ValueType enumeration(QVector<EnumValue> values);

    /// "bool", "int", "number", "text", "enum" or "any".
    [[nodiscard]] QString name() const;
    [[nodiscard]] bool isEnumeration() const { return !m_values.isEmpty(); }
    [[nodiscard]] const QVector<EnumValue>& values() const { return m_values; }

    void setRange(const QVariant& minimum, const QVariant& maximum);
    void setRegularExpression(const QString& expression);
    [[nodiscard]] QVariant minimum() const { return m_minimum; }
    [[nodiscard]] QVariant maximum() const { return m_maximum; }
    [[nodiscard]] QString regularExpression() const { return m_expressionText; }

    /// A value as its module writes it: of this type, or invalid when it cannot be converted. Not checked
    /// against limits; a number outside of the enumeration is kept, and so is one beyond an int, as a 64-bit
    /// one.
    [[nodiscard]] QVariant fromModule(const QVariant& value) const;

    /// A value as a client writes it: texts are understood for every type. The error says what was wrong and
    /// what would be right, without the item's name.
    /// @param secret keeps the value out of the error.
    [[nodiscard]] Outcome<QVariant> fromClient(const QVariant& value, bool secret) const;

    /// Whether a value of this type keeps within the limits that bind clients.
    [[nodiscard]] Outcome<Done> checkLimits(const QVariant& value, bool secret) const;

private:
    [[nodiscard]] Outcome<Done> checkRange(const QVariant& value, bool secret) const;
    [[nodiscard]] QVariant parse(const QString& text) const;
    [[nodiscard]] QString expectation() const;

    int m_metaType = QMetaType::UnknownType;
    QVector<EnumValue> m_values;
    QVariant m_minimum;
    QVariant m_maximum;
    QString m_expressionText;
    QRegularExpression m_expression;
};

} // namespace ipc

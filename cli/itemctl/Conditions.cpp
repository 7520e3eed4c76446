#include "Conditions.h"

#include "Description.h"
#include "ValueText.h"
#include "common/DisplayText.h"
#include "items/EnumMatch.h"

#include <QStringList>

namespace itemctl {
namespace {

Failure usage(const QString& message)
{
    return { ExitStatus::Usage, message };
}

QString without(const QString& text, const QString& suffix)
{
    const QString item = text.left(text.size() - suffix.size());
    // A full address ends with a colon, which is easily taken for the one before the word.
    return item.startsWith(QLatin1Char(':')) && !item.endsWith(QLatin1Char(':')) ? item + QLatin1Char(':')
                                                                                 : item;
}

QString listed(const ipc::EnumValues& values)
{
    QStringList texts;
    for (const EnumValue& value : values)
        texts += QStringLiteral("%1 (%2)").arg(QString::number(value.value), value.label);
    return texts.join(QStringLiteral(", "));
}

/// The text of a whole number as rawText() writes it, with all its digits; null when it is none.
QString wholeNumber(const QString& text)
{
    bool isSigned = false;
    bool isUnsigned = false;
    const qlonglong number = text.toLongLong(&isSigned);
    const qulonglong large = text.toULongLong(&isUnsigned);
    return isSigned ? QString::number(number) : isUnsigned ? QString::number(large) : QString();
}

QString enumNumber(const QString& text, const ipc::EnumValues& values)
{
    if (const auto number = ipc::findEnumValue(values, text))
        return QString::number(*number);
    return wholeNumber(text); // an item keeps what its module writes, also outside of the enumeration
}

QString truth(const QString& text)
{
    const QString lower = text.toLower();
    if (lower == QLatin1String("true") || lower == QLatin1String("1"))
        return QStringLiteral("true");
    return lower == QLatin1String("false") || lower == QLatin1String("0") ? QStringLiteral("false")
                                                                          : QString();
}

QString number(const QString& text)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    return isNumber ? rawText(value) : QString();
}

} // namespace

Expected<Condition> Condition::parse(const QString& text)
{
    static const QRegularExpression operators(QStringLiteral("!=|=|~"));
    Condition condition;
    condition.m_text = text;
    if (const auto found = operators.match(text); found.hasMatch()) {
        condition.m_item = text.left(found.capturedStart());
        condition.m_operand = text.mid(found.capturedEnd());
        condition.m_kind = found.captured() == QLatin1String("=") ? Kind::Equals
            : found.captured() == QLatin1String("~")              ? Kind::Matches
                                                                  : Kind::Differs;
    } else if (text.endsWith(QLatin1String(":applicable"))) {
        condition.m_kind = Kind::Applicable;
        condition.m_item = without(text, QStringLiteral(":applicable"));
    } else if (text.endsWith(QLatin1String(":inapplicable"))) {
        condition.m_kind = Kind::Inapplicable;
        condition.m_item = without(text, QStringLiteral(":inapplicable"));
    }
    if (condition.m_item.isEmpty())
        return usage(QStringLiteral("\"%1\" is no condition; write ITEM=VALUE, ITEM!=VALUE, ITEM~REGEX, "
                                    "ITEM:applicable or ITEM:inapplicable")
                         .arg(escaped(text)));
    if (condition.m_kind == Kind::Matches) {
        condition.m_expression.setPattern(condition.m_operand);
        condition.m_expression.setPatternOptions(QRegularExpression::UseUnicodePropertiesOption);
        if (!condition.m_expression.isValid())
            return usage(QStringLiteral("\"%1\" is no regular expression: %2")
                             .arg(escaped(condition.m_operand), condition.m_expression.errorString()));
    }
    return condition;
}

bool Condition::comparesValue() const
{
    return m_kind == Kind::Equals || m_kind == Kind::Differs;
}

Expected<Condition> Condition::boundTo(const QVariantMap& description) const
{
    const QString type = description.value(QStringLiteral("type")).toString();
    if (!comparesValue() || type == QLatin1String("text") || type == QLatin1String("any"))
        return *this;
    const auto refuse = [this](const QString& expected) {
        return usage(QStringLiteral("%1: \"%2\" does not fit; %3").arg(m_item, escaped(m_operand), expected));
    };
    Condition bound = *this;
    if (type == QLatin1String("enum")) {
        const ipc::EnumValues values = enumerationOf(description);
        bound.m_operand = enumNumber(m_operand, values);
        if (bound.m_operand.isNull())
            return refuse(QStringLiteral("its values are %1").arg(escaped(listed(values))));
    } else if (type == QLatin1String("bool")) {
        bound.m_operand = truth(m_operand);
        if (bound.m_operand.isNull())
            return refuse(QStringLiteral("it is true or false"));
    } else if (type == QLatin1String("int") || type == QLatin1String("number")) {
        bound.m_operand = type == QLatin1String("int") ? wholeNumber(m_operand) : number(m_operand);
        if (bound.m_operand.isNull())
            return refuse(QStringLiteral("it is a number"));
    } else {
        return usage(QStringLiteral("%1 is an action and has no value; wait for %1:applicable").arg(m_item));
    }
    return bound;
}

bool Condition::holds(const Item& item) const
{
    switch (m_kind) {
    case Kind::Equals:
        return rawText(item.value) == m_operand;
    case Kind::Differs:
        return rawText(item.value) != m_operand;
    case Kind::Matches:
        return m_expression.match(rawText(item.value)).hasMatch()
            || (!item.text.isEmpty() && m_expression.match(item.text).hasMatch());
    case Kind::Applicable:
        return item.applicable;
    case Kind::Inapplicable:
        return !item.applicable;
    }
    return false;
}

} // namespace itemctl

#include "ValueType.h"

#include "EnumMatch.h"

#include <algorithm>
#include <limits>

namespace ipc {
namespace {

constexpr int ShownLength = 80;

QString shown(const QVariant& value, bool secret)
{
    if (secret) {
        return QStringLiteral("the value");
    }
    QString text = value.toString();
    if (text.size() > ShownLength) {
        text = text.left(ShownLength) + QChar(0x2026); // an ellipsis
    }
    return QLatin1Char('"') + text + QLatin1Char('"');
}

Error refused(const QString& reason)
{
    return { Error::Kind::Refused, reason };
}

Error noneOf(const QVector<EnumValue>& values, const QVariant& value, bool secret)
{
    return refused(
        QStringLiteral("%1 is none of its values: %2").arg(shown(value, secret), shownEnumValues(values)));
}

QVariant parseBool(const QString& text)
{
    const QString lower = text.toLower();
    if (lower == QLatin1String("true") || lower == QLatin1String("1")) {
        return true;
    }
    if (lower == QLatin1String("false") || lower == QLatin1String("0")) {
        return false;
    }
    return {};
}

} // namespace

ValueType ValueType::of(const QVariant& firstValue)
{
    ValueType type;
    type.m_metaType = firstValue.userType();
    return type;
}

ValueType ValueType::enumeration(QVector<EnumValue> values)
{
    ValueType type;
    type.m_metaType = QMetaType::Int;
    type.m_values = std::move(values);
    return type;
}

QString ValueType::name() const
{
    if (isEnumeration()) {
        return QStringLiteral("enum");
    }
    switch (m_metaType) {
    case QMetaType::Bool:
        return QStringLiteral("bool");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return QStringLiteral("int");
    case QMetaType::Double:
        return QStringLiteral("number");
    case QMetaType::QString:
        return QStringLiteral("text");
    default:
        return QStringLiteral("any");
    }
}

void ValueType::setRange(const QVariant& minimum, const QVariant& maximum)
{
    m_minimum = minimum;
    m_maximum = maximum;
}

void ValueType::setRegularExpression(const QString& expression)
{
    m_expressionText = expression;
    m_expression = expression.isEmpty() ? QRegularExpression()
                                        : QRegularExpression(QRegularExpression::anchoredPattern(expression));
}

QVariant ValueType::fromModule(const QVariant& value) const
{
    if (m_metaType == QMetaType::UnknownType || value.userType() == m_metaType) {
        return value;
    }
    if (m_metaType == QMetaType::Int) {
        // QVariant would cut down what is beyond an int.
        bool isNumber = false;
        const qlonglong number = value.toLongLong(&isNumber);
        if (isNumber
            && (number > std::numeric_limits<int>::max() || number < std::numeric_limits<int>::min())) {
            return number;
        }
    }
    QVariant converted = value;
    return converted.convert(m_metaType) ? converted : QVariant();
}

/// A text as a value of this type; invalid when it does not read as one. QVariant's own conversion cuts a
/// number that is too large down to what fits.
QVariant ValueType::parse(const QString& text) const
{
    bool fits = true;
    QVariant value;
    switch (m_metaType) {
    case QMetaType::Bool:
        return parseBool(text);
    case QMetaType::Int:
        value = text.toInt(&fits);
        break;
    case QMetaType::UInt:
        value = text.toUInt(&fits);
        break;
    case QMetaType::LongLong:
        value = text.toLongLong(&fits);
        break;
    case QMetaType::ULongLong:
        value = text.toULongLong(&fits);
        break;
    case QMetaType::Double:
        value = text.toDouble(&fits);
        break;
    default:
        value = text;
        fits = value.convert(m_metaType);
        break;
    }
    return fits ? value : QVariant();
}

QString ValueType::expectation() const
{
    if (m_metaType == QMetaType::Bool) {
        return QStringLiteral("true or false is expected");
    }
    if (name() == QLatin1String("text")) {
        return QStringLiteral("a text is expected");
    }
    return m_metaType == QMetaType::Double ? QStringLiteral("a number is expected")
                                           : QStringLiteral("a whole number of type %1 is expected")
                                                 .arg(QLatin1String(QMetaType::typeName(m_metaType)));
}

Outcome<QVariant> ValueType::fromClient(const QVariant& value, bool secret) const
{
    if (m_metaType == QMetaType::UnknownType) {
        return value;
    }

    if (isEnumeration()) {
        if (const auto number = findEnumValue(m_values, value.toString())) {
            return QVariant(*number);
        }
        return noneOf(m_values, value, secret);
    }

    const bool isText = value.userType() == QMetaType::QString;
    // QVariant turns a number into a bool, and rounds one that is too large, without a word.
    const QVariant converted = value.userType() == m_metaType ? value : parse(value.toString());
    if (!converted.isValid() || (!isText && !value.canConvert(QMetaType::QString))) {
        return refused(QStringLiteral("%1 does not fit; %2").arg(shown(value, secret), expectation()));
    }
    const Outcome<Done> checked = checkLimits(converted, secret);
    return checked ? Outcome<QVariant>(converted) : checked.error();
}

Outcome<Done> ValueType::checkLimits(const QVariant& value, bool secret) const
{
    if (isEnumeration()) {
        const bool isKnown = !enumLabel(m_values, value.toLongLong()).isNull();
        return isKnown ? Outcome<Done>(Done()) : noneOf(m_values, value, secret);
    }
    Outcome<Done> checked = checkRange(value, secret);
    if (!checked || m_expressionText.isEmpty() || m_expression.match(value.toString()).hasMatch()) {
        return checked;
    }
    return refused(QStringLiteral("%1 does not match %2").arg(shown(value, secret), m_expressionText));
}

Outcome<Done> ValueType::checkRange(const QVariant& value, bool secret) const
{
    const bool isText = m_metaType == QMetaType::QString;
    const double measured = isText ? value.toString().size() : value.toDouble();
    const bool tooSmall = m_minimum.isValid() && measured < m_minimum.toDouble();
    const bool tooLarge = m_maximum.isValid() && measured > m_maximum.toDouble();
    if (!tooSmall && !tooLarge) {
        return Done();
    }
    const QString what = isText
        ? QStringLiteral("%1 has %2 characters").arg(shown(value, secret)).arg(value.toString().size())
        : QStringLiteral("%1 is out of range").arg(shown(value, secret));
    return refused(
        QStringLiteral("%1, %2 to %3 are allowed").arg(what, m_minimum.toString(), m_maximum.toString()));
}

} // namespace ipc

#include "ExpectedValue.h"

#include "bus/ItemRecord.h"
#include "items/EnumMatch.h"

namespace ipc {
namespace {

QString typeOf(const QVariantMap& description)
{
    return description.value(QStringLiteral("type")).toString();
}

EnumValues enumerationOf(const QVariantMap& description)
{
    return qdbus_cast<EnumValues>(description.value(QStringLiteral("enumeration")));
}

Error notThat(const QString& whatWouldBeRight)
{
    return { Error::Kind::Refused, whatWouldBeRight };
}

Outcome<QVariant> wholeNumber(const QString& text, const QString& otherwise)
{
    bool isSigned = false;
    bool isUnsigned = false;
    const QVariant number = text.toLongLong(&isSigned);
    const QVariant large = text.toULongLong(&isUnsigned);
    if (!isSigned && !isUnsigned) {
        return notThat(otherwise);
    }
    return isSigned ? number : large;
}

Outcome<QVariant> number(const QString& text)
{
    bool isNumber = false;
    const QVariant value = text.toDouble(&isNumber);
    return isNumber ? Outcome<QVariant>(value) : notThat(QStringLiteral("it is a number"));
}

Outcome<QVariant> truth(const QString& text)
{
    const QString lower = text.toLower();
    for (const bool value : { false, true }) {
        if (lower == QVariant(value).toString() || lower == QString::number(static_cast<int>(value))) {
            return QVariant(value);
        }
    }
    return notThat(QStringLiteral("it is true or false"));
}

Outcome<QVariant> oneOf(const EnumValues& values, const QString& text)
{
    if (const auto found = findEnumValue(values, text)) {
        return QVariant(*found);
    }
    return wholeNumber(text, QStringLiteral("its values are %1").arg(shownEnumValues(values)));
}

} // namespace

Outcome<QVariant> expectedValue(const QVariantMap& description, const QString& text)
{
    const QString type = typeOf(description);
    if (type == QLatin1String("action")) {
        return notThat(QStringLiteral("it is an action and has no value"));
    }
    if (type == QLatin1String("enum")) {
        return oneOf(enumerationOf(description), text);
    }
    if (type == QLatin1String("bool")) {
        return truth(text);
    }
    if (type == QLatin1String("int")) {
        return wholeNumber(text, QStringLiteral("it is a whole number"));
    }
    return type == QLatin1String("number") ? number(text) : QVariant(text);
}

QString shownValue(const QVariantMap& description, const QVariant& value)
{
    const QString type = typeOf(description);
    if (type == QLatin1String("enum")) {
        return shownEnumValue(value.toString(), enumLabel(enumerationOf(description), value.toLongLong()));
    }
    return type == QLatin1String("text") || type == QLatin1String("any")
        ? QStringLiteral("\"%1\"").arg(value.toString())
        : value.toString();
}

} // namespace ipc

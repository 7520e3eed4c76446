#include "ExpectedValue.h"

#include "bus/ItemRecord.h"
#include "items/EnumMatch.h"

#include <QStringList>

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

QString withLabel(const QString& number, const QString& label)
{
    return label.isEmpty() ? number : QStringLiteral("%1 (%2)").arg(number, label);
}

ExpectedValue wholeNumber(const QString& text, const QString& otherwise)
{
    bool isSigned = false;
    bool isUnsigned = false;
    const qlonglong number = text.toLongLong(&isSigned);
    const qulonglong large = text.toULongLong(&isUnsigned);
    if (isSigned) {
        return { number, {} };
    }
    return isUnsigned ? ExpectedValue{ large, {} } : ExpectedValue{ {}, otherwise };
}

ExpectedValue number(const QString& text)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    return isNumber ? ExpectedValue{ value, {} } : ExpectedValue{ {}, QStringLiteral("it is a number") };
}

ExpectedValue truth(const QString& text)
{
    const QString lower = text.toLower();
    for (const bool value : { false, true }) {
        if (lower == QVariant(value).toString() || lower == QString::number(static_cast<int>(value))) {
            return { value, {} };
        }
    }
    return { {}, QStringLiteral("it is true or false") };
}

ExpectedValue oneOf(const EnumValues& values, const QString& text)
{
    if (const auto found = findEnumValue(values, text)) {
        return { *found, {} };
    }
    QStringList texts;
    for (const EnumValue& value : values) {
        texts += withLabel(QString::number(value.value), value.label);
    }
    return wholeNumber(text, QStringLiteral("its values are %1").arg(texts.join(QStringLiteral(", "))));
}

} // namespace

ExpectedValue expectedValue(const QVariantMap& description, const QString& text)
{
    const QString type = typeOf(description);
    if (type == QLatin1String("action")) {
        return { {}, QStringLiteral("it is an action and has no value") };
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
    return type == QLatin1String("number") ? number(text) : ExpectedValue{ text, {} };
}

QString shownValue(const QVariantMap& description, const QVariant& value)
{
    const QString type = typeOf(description);
    if (type == QLatin1String("enum")) {
        return withLabel(value.toString(), enumLabel(enumerationOf(description), value.toLongLong()));
    }
    return type == QLatin1String("text") || type == QLatin1String("any")
        ? QStringLiteral("\"%1\"").arg(value.toString())
        : value.toString();
}

} // namespace ipc

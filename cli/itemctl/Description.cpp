#include "Description.h"

#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QDBusArgument>

namespace itemctl {
namespace {

constexpr int NameColumns = 15;

QString line(const QString& name, const QString& value)
{
    return fitted(name, NameColumns) + value;
}

/// The length of a text or the value of a number that clients may write.
QString rangeText(const QVariantMap& description)
{
    const QString minimum = base::rawText(description.value(QStringLiteral("minimum")));
    const QString maximum = base::rawText(description.value(QStringLiteral("maximum")));
    if (minimum.isEmpty() && maximum.isEmpty()) {
        return {};
    }
    const bool isText = description.value(QStringLiteral("type")) == QLatin1String("text");
    QString range = minimum.isEmpty() ? QStringLiteral("at most %1").arg(maximum)
        : maximum.isEmpty()           ? QStringLiteral("at least %1").arg(minimum)
                                      : QStringLiteral("%1 to %2").arg(minimum, maximum);
    return isText ? range + QStringLiteral(" characters") : range;
}

/// Empty when it is no text.
QString textOf(const nlohmann::ordered_json& words)
{
    return words.is_string() ? escaped(QString::fromStdString(words.get<std::string>())) : QString();
}

QStringList enumerationLines(const QVariantMap& description, const nlohmann::ordered_json& words)
{
    const auto ofSymbols = words.value("values", nlohmann::ordered_json::object());
    QStringList lines;
    for (const EnumValue& value : enumerationOf(description)) {
        const QString meaning = ofSymbols.is_object()
            ? textOf(ofSymbols.value(value.symbol.toStdString(), nlohmann::ordered_json()))
            : QString();
        lines += line(lines.isEmpty() ? QStringLiteral("values") : QString(),
                      QStringLiteral("%1 (%2) %3")
                              .arg(QString::number(value.value), escaped(value.label), escaped(value.symbol))
                          + (meaning.isEmpty() ? QString() : QStringLiteral(": ") + meaning));
    }
    return lines;
}

QStringList wordLines(const nlohmann::ordered_json& words)
{
    QStringList lines;
    for (const auto& [name, text] : words.items()) {
        if (const QString shown = textOf(text); !shown.isEmpty()) {
            lines += line(escaped(QString::fromStdString(name)), shown);
        }
    }
    return lines;
}

QString yesOrNo(bool yes)
{
    return yes ? QStringLiteral("yes") : QStringLiteral("no");
}

} // namespace

ipc::EnumValues enumerationOf(const QVariantMap& description)
{
    return qdbus_cast<ipc::EnumValues>(description.value(QStringLiteral("enumeration")));
}

QStringList descriptionLines(const Item& item, const QVariantMap& description,
                             const nlohmann::ordered_json& words)
{
    QStringList lines{ line(QStringLiteral("address"), item.address),
                       line(QStringLiteral("label"), escaped(item.label)),
                       line(QStringLiteral("kind"), item.kind) };
    const auto add = [&](const char* key, const QString& name) {
        const auto found = description.constFind(QLatin1String(key));
        if (found == description.constEnd()) {
            return;
        }
        const QString text = found->type() == QVariant::Bool && found.key() != QLatin1String("default")
            ? yesOrNo(found->toBool())
            : escaped(base::rawText(*found));
        if (!text.isEmpty()) {
            lines += line(name, text);
        }
    };
    add("type", QStringLiteral("type"));
    if (!item.isAction()) {
        lines += line(QStringLiteral("value"), shownValue(item));
    }
    add("default", QStringLiteral("default"));
    if (const QString range = rangeText(description); !range.isEmpty()) {
        lines += line(QStringLiteral("range"), range);
    }
    add("regularExpression", QStringLiteral("expression"));
    lines += enumerationLines(description, words);
    add("writable", QStringLiteral("writable"));
    add("private", QStringLiteral("private"));
    add("takesText", QStringLiteral("takes a text"));
    lines += line(QStringLiteral("applies now"), yesOrNo(item.applicable));
    add("applicability", QStringLiteral("applies if"));
    add("hint", QStringLiteral("hint"));
    return lines + wordLines(words);
}

} // namespace itemctl

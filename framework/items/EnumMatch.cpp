#include "EnumMatch.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <functional>

namespace ipc {
namespace {

/// Length of what all symbols begin with, up to and including an underscore.
int sharedPrefixLength(const QVector<EnumValue>& values)
{
    if (values.size() < 2) {
        return 0;
    }
    const QString& first = values.first().symbol;
    auto length = first.size();
    for (const EnumValue& value : values) {
        const auto limit = std::min(length, value.symbol.size());
        length = static_cast<int>(
            std::mismatch(first.begin(), first.begin() + limit, value.symbol.begin()).first - first.begin());
    }
    return length == 0 ? 0 : first.lastIndexOf(QLatin1Char('_'), length - 1) + 1;
}

template <typename Name>
std::optional<int> findByName(const QVector<EnumValue>& values, const QString& text, Qt::CaseSensitivity cs,
                              Name name)
{
    std::optional<int> found;
    for (const EnumValue& value : values) {
        if (QStringView(name(value)).compare(text, cs) != 0) {
            continue;
        }
        if (found && *found != value.value) {
            return {};
        }
        found = value.value;
    }
    return found;
}

EnumValue entryOf(const QVector<EnumValue>& values, qlonglong value)
{
    const auto* const found = std::find_if(values.begin(), values.end(),
                                           [value](const EnumValue& entry) { return entry.value == value; });
    return found == values.end() ? EnumValue() : *found;
}

} // namespace

std::optional<int> findEnumValue(const QVector<EnumValue>& values, const QString& text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (isNumber) {
        const bool known =
            std::any_of(values.begin(), values.end(), [&](const EnumValue& v) { return v.value == number; });
        return known ? std::optional(number) : std::nullopt;
    }

    const int prefix = sharedPrefixLength(values);
    using Name = std::function<QStringView(const EnumValue&)>;
    const std::array<Name, 3> names{ [](const EnumValue& v) { return QStringView(v.symbol); },
                                     [&](const EnumValue& v) { return QStringView(v.symbol).mid(prefix); },
                                     [](const EnumValue& v) {
                                         return QStringView(v.label);
                                     } };
    for (const Qt::CaseSensitivity cs : { Qt::CaseSensitive, Qt::CaseInsensitive }) {
        for (const Name& name : names) {
            if (const auto found = findByName(values, text, cs, name)) {
                return found;
            }
        }
    }
    return {};
}

QString enumLabel(const QVector<EnumValue>& values, qlonglong value)
{
    return entryOf(values, value).label;
}

QString enumSymbol(const QVector<EnumValue>& values, qlonglong value)
{
    return entryOf(values, value).symbol;
}

QString shownEnumValue(const QString& number, const QString& label)
{
    return label.isEmpty() ? number : QStringLiteral("%1 (%2)").arg(number, label);
}

QString shownEnumValues(const QVector<EnumValue>& values)
{
    QStringList texts;
    for (const EnumValue& value : values) {
        texts += shownEnumValue(QString::number(value.value), value.label);
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace ipc

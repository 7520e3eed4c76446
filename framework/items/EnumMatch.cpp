#include "EnumMatch.h"

#include <algorithm>

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
    for (const Qt::CaseSensitivity cs : { Qt::CaseSensitive, Qt::CaseInsensitive }) {
        const auto symbol = [](const EnumValue& v) {
            return QStringView(v.symbol);
        };
        const auto shortSymbol = [&](const EnumValue& v) {
            return QStringView(v.symbol).mid(prefix);
        };
        const auto label = [](const EnumValue& v) {
            return QStringView(v.label);
        };
        if (const auto found = findByName(values, text, cs, symbol)) {
            return found;
        }
        if (const auto found = findByName(values, text, cs, shortSymbol)) {
            return found;
        }
        if (const auto found = findByName(values, text, cs, label)) {
            return found;
        }
    }
    return {};
}

QString enumLabel(const QVector<EnumValue>& values, qlonglong value)
{
    const auto* const found =
        std::find_if(values.begin(), values.end(), [&](const EnumValue& v) { return v.value == value; });
    return found == values.end() ? QString() : found->label;
}

} // namespace ipc

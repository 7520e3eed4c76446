#include "JsonLine.h"

#include "Escaped.h"

#include <QVector>

#include <nlohmann/json.hpp>

namespace base {

QString jsonText(const nlohmann::ordered_json& value)
{
    const std::string line = value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    QString safe;
    for (const uint character : QString::fromStdString(line).toUcs4()) {
        // The only such characters that JSON lets stand are within texts, where an escape means the same.
        const bool isUnsafe = isUnsafeToShow(character);
        for (const QChar unit : QString::fromUcs4(&character, 1)) {
            safe += isUnsafe ? QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QLatin1Char('0'))
                             : QString(unit);
        }
    }
    return safe;
}

} // namespace base

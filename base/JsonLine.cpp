#include "JsonLine.h"

#include "Escaped.h"

#include <nlohmann/json.hpp>

namespace base {

QString jsonText(const nlohmann::ordered_json& value)
{
    const std::string line = value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    QString safe;
    for (const QChar character : QString::fromStdString(line)) {
        // The only such characters that JSON lets stand are within texts, where an escape means the same.
        if (isUnsafeToShow(character.unicode())) {
            safe += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            safe += character;
        }
    }
    return safe;
}

} // namespace base

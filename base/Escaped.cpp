#include "Escaped.h"

namespace base {

namespace {

QString escapeOf(uint character)
{
    switch (character) {
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    default:
        break;
    }
    return character <= 0xff ? QStringLiteral("\\x%1").arg(character, 2, 16, QLatin1Char('0'))
                             : QStringLiteral("\\u%1").arg(character, 4, 16, QLatin1Char('0'));
}

} // namespace

bool isUnsafeToShow(char32_t character)
{
    const auto within = [character](char32_t first, char32_t last) {
        return character >= first && character <= last;
    };
    return within(0, 0x1f) || within(0x7f, 0x9f) || character == 0x61c || within(0x200e, 0x200f)
        || within(0x2028, 0x202e) || within(0x2066, 0x2069);
}

QString escaped(const QString& text)
{
    QString shown;
    shown.reserve(text.size());
    // All of them are in the basic plane: one UTF-16 unit each.
    for (const QChar character : text) {
        if (isUnsafeToShow(character.unicode())) {
            shown += escapeOf(character.unicode());
        } else {
            shown += character;
        }
    }
    return shown;
}

} // namespace base

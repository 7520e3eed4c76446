#include "DisplayText.h"

#include <QVector>

#include <cwchar>

namespace cli {
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

int columnsOf(uint character)
{
    // A locale that does not know the character says -1; the terminal will use a column for it.
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    return columns < 0 ? 1 : columns;
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
        if (isUnsafeToShow(character.unicode()))
            shown += escapeOf(character.unicode());
        else
            shown += character;
    }
    return shown;
}

int displayWidth(const QString& text)
{
    int width = 0;
    for (const uint character : text.toUcs4())
        width += columnsOf(character);
    return width;
}

QString cut(const QString& text, int columns)
{
    if (displayWidth(text) <= columns)
        return text;
    if (columns <= 0)
        return {};
    QString kept;
    int width = 1; // of the ellipsis
    for (const uint character : text.toUcs4()) {
        width += columnsOf(character);
        if (width > columns)
            break;
        kept += QString::fromUcs4(&character, 1);
    }
    return kept + QChar(0x2026);
}

QString fitted(const QString& text, int columns)
{
    const QString kept = cut(text, columns);
    return kept + QString(qMax(0, columns - displayWidth(kept)), QLatin1Char(' '));
}

} // namespace cli

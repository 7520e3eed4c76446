#include "DisplayText.h"

#include <QVector>

#include <cwchar>

namespace cli {
namespace {
int columnsOf(uint character)
{
    // A locale that does not know the character says -1; the terminal will use a column for it.
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    return columns < 0 ? 1 : columns;
}

} // namespace

int displayWidth(const QString& text)
{
    int width = 0;
    for (const uint character : text.toUcs4()) {
        width += columnsOf(character);
    }
    return width;
}

QString cut(const QString& text, int columns)
{
    if (displayWidth(text) <= columns) {
        return text;
    }
    if (columns <= 0) {
        return {};
    }
    QString kept;
    int width = 1; // of the ellipsis
    for (const uint character : text.toUcs4()) {
        width += columnsOf(character);
        if (width > columns) {
            break;
        }
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

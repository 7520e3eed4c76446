#include "Escaped.h"

#include <QVector>

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
    if (character <= 0xff) {
        return QStringLiteral("\\x%1").arg(character, 2, 16, QLatin1Char('0'));
    }
    return character <= 0xffff ? QStringLiteral("\\u%1").arg(character, 4, 16, QLatin1Char('0'))
                               : QStringLiteral("\\U%1").arg(character, 8, 16, QLatin1Char('0'));
}

} // namespace

bool isUnsafeToShow(char32_t character)
{
    const auto within = [character](char32_t first, char32_t last) {
        return character >= first && character <= last;
    };
    switch (QChar::category(static_cast<uint>(character))) {
    case QChar::Other_Control:
    case QChar::Other_Format: // zero width, direction, tags
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        break;
    }
    // Letters and marks that are not seen either: joiners, fillers, selectors of a variant.
    return character == 0x34f || within(0x115f, 0x1160) || within(0x17b4, 0x17b5) || within(0x180b, 0x180f)
        || character == 0x2065 || character == 0x3164 || within(0xfe00, 0xfe0f) || character == 0xffa0
        || within(0xfff0, 0xfff8) || within(0xe0000, 0xe0fff);
}

QString escaped(const QString& text)
{
    QString shown;
    shown.reserve(text.size());
    for (const uint character : text.toUcs4()) {
        shown += isUnsafeToShow(character) ? escapeOf(character) : QString::fromUcs4(&character, 1);
    }
    return shown;
}

} // namespace base

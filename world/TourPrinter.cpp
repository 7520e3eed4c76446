#include "TourPrinter.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <set>

namespace world {

namespace {

constexpr int Width = 80;
constexpr int NameWidth = 28;
constexpr int Indent = 4;
constexpr int ItemIndent = 6;
constexpr int NameColumn = 20;
constexpr const char* Bold = "\033[1m";
constexpr const char* Green = "\033[32m";
constexpr const char* Red = "\033[1;31m";
constexpr const char* Dim = "\033[36m";

/// Names come over the radio: what would steer a terminal is shown instead.
QString shown(const QString& text)
{
    if (text.isEmpty()) {
        return QStringLiteral("(empty)");
    }
    QString result;
    for (const QChar character : text) {
        result += character.isPrint()
            ? QString(character)
            : QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
    return result;
}

QString elided(const QString& text, int width)
{
    return text.size() <= width ? text : text.left(width - 3) + QStringLiteral("...");
}

const QString& addressItem()
{
    static const QString name = QStringLiteral("scanresultsAddr:");
    return name;
}

bool isScanResult(const QString& name)
{
    return name.startsWith(QStringLiteral("scanresults"));
}

int rowOf(const QString& name)
{
    return name.section(QLatin1Char(':'), -1).toInt();
}

/// The rows of scan results that came or changed, a line each in place of one for each of their three items.
QStringList rowLines(const ItemMirror& items)
{
    std::set<int> rows;
    for (const ItemHistory& item : items.history()) {
        if (isScanResult(item.name)) {
            rows.insert(rowOf(item.name));
        }
    }
    QStringList lines;
    for (const int row : rows) {
        const QString index = QString::number(row);
        const QString address = items.text(addressItem() + index);
        if (!address.isEmpty()) {
            const QString strength = items.text(QStringLiteral("scanresultsSignalStrength:") + index);
            const QString name = items.text(QStringLiteral("scanresultsName:") + index);
            lines << QStringLiteral(":%1").arg(row).leftJustified(NameWidth)
                    + QStringLiteral("%1  %2  %3")
                          .arg(address, strength.rightJustified(4), elided(shown(name), NameColumn));
        }
    }
    return lines;
}

long rowsEmptied(const ItemMirror& items)
{
    return std::count_if(items.history().begin(), items.history().end(), [](const ItemHistory& item) {
        return item.name.startsWith(addressItem()) && item.values.last().isEmpty();
    });
}

} // namespace

TourPrinter::TourPrinter()
    : m_colour(isatty(STDOUT_FILENO) != 0 && qEnvironmentVariableIsEmpty("NO_COLOR"))
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // each step is seen when it happens
}

void TourPrinter::line(const QString& text, const char* colour) const
{
    const bool coloured = m_colour && *colour != '\0';
    std::printf("%s%s%s\n", coloured ? colour : "", qPrintable(text), coloured ? "\033[0m" : "");
}

void TourPrinter::wrapped(const QString& text, int indent, const char* colour) const
{
    const QString margin(indent, QLatin1Char(' '));
    QString current;
    for (const QString& word : text.split(QLatin1Char(' '))) {
        if (!current.isEmpty() && indent + current.size() + 1 + word.size() > Width) {
            line(margin + current, colour);
            current.clear();
        }
        current += (current.isEmpty() ? QString() : QStringLiteral(" ")) + word;
    }
    line(margin + current, colour);
}

void TourPrinter::paragraph(const QString& text) const
{
    wrapped(text, 0);
}

void TourPrinter::title(int number, const QString& text) const
{
    line({});
    line(QStringLiteral("%1  %2").arg(QString::number(number).rightJustified(2), text), Bold);
}

void TourPrinter::request(const QString& why, const Request& request) const
{
    wrapped(why, Indent);
    line(QString(Indent, QLatin1Char(' ')) + QStringLiteral("$ ") + commandFor(request), Dim);
}

void TourPrinter::reply(const QString& text) const
{
    if (!text.isEmpty()) {
        line(QString(Indent, QLatin1Char(' ')) + shown(text));
    }
}

void TourPrinter::changes(const ItemMirror& items) const
{
    const QString margin(ItemIndent, QLatin1Char(' '));
    for (const ItemHistory& item : items.history()) {
        if (isScanResult(item.name)) {
            continue;
        }
        QStringList values;
        for (const QString& value : item.values) {
            values << shown(value);
        }
        const QString path = values.join(QStringLiteral(" -> "));
        line(margin + item.name.leftJustified(NameWidth) + elided(path, Width - ItemIndent - NameWidth));
    }
    scanResults(items);
}

void TourPrinter::scanResults(const ItemMirror& items) const
{
    const QString margin(ItemIndent, QLatin1Char(' '));
    const QString label = margin + QStringLiteral("scanresults...").leftJustified(NameWidth);
    const QStringList rows = rowLines(items);
    if (!rows.isEmpty()) {
        line(label + QStringLiteral("Addr                dBm  Name"));
    }
    for (const QString& row : rows) {
        line(margin + row);
    }
    if (const long emptied = rowsEmptied(items); emptied > 0) {
        line(label + QStringLiteral("%1 rows -> (empty)").arg(emptied));
    }
}

void TourPrinter::seen(const QString& outcome, std::chrono::milliseconds took) const
{
    const QString seconds = QString::number(static_cast<double>(took.count()) / 1000, 'f', 1);
    wrapped(QStringLiteral("= after %1 s: %2").arg(seconds, outcome), Indent, Green);
}

void TourPrinter::missed(const QStringList& expected, const QStringList& present) const
{
    wrapped(QStringLiteral("! This did not happen."), Indent, Red);
    for (int i = 0; i < expected.size(); ++i) {
        wrapped(QStringLiteral("expected: %1").arg(expected[i]), ItemIndent, Red);
        wrapped(QStringLiteral("there is: %1").arg(present.value(i)), ItemIndent, Red);
    }
}

QString commandFor(const Request& request)
{
    QStringList words{ QStringLiteral("itemctl"),
                       request.kind == Request::Kind::Set ? QStringLiteral("set") : QStringLiteral("call"),
                       request.item };
    if (!request.text.isEmpty()) {
        words << request.text;
    }
    return words.join(QLatin1Char(' '));
}

} // namespace world

#include "TourPrinter.h"

#include <QMap>

#include <unistd.h>

#include <cstdio>

namespace world {

namespace {

constexpr int Width = 80;
constexpr int NameWidth = 28;
constexpr int Indent = 4;
constexpr int ItemIndent = 6;
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

/// The rows that a list got, one line each, in place of a line for each of their items.
struct Rows
{
    QStringList items;
    QMap<int, QMap<QString, QString>> cells; ///< by row and item
};

bool isScanResult(const QString& name)
{
    return name.startsWith(QStringLiteral("scanresults"));
}

Rows scanRows(const std::vector<ItemHistory>& history)
{
    Rows rows;
    for (const ItemHistory& item : history) {
        if (isScanResult(item.name)) {
            const QStringList parts = item.name.split(QLatin1Char(':'));
            rows.cells[parts.value(1).toInt()][parts.first()] = item.values.last();
        }
    }
    return rows;
}

QString rowLine(int row, const QMap<QString, QString>& cells)
{
    const QString address = cells.value(QStringLiteral("scanresultsAddr"));
    const QString name = cells.value(QStringLiteral("scanresultsName"));
    const QString strength = cells.value(QStringLiteral("scanresultsSignalStrength"));
    const QString label = QStringLiteral("scanresults...:%1").arg(row);
    const bool gone = cells.contains(QStringLiteral("scanresultsAddr")) && address.isEmpty();
    return label.leftJustified(NameWidth)
        + (gone
               ? QStringLiteral("(gone)")
               : QStringLiteral("%1  %2  %3").arg(address, 17).arg(strength, 4).arg(elided(shown(name), 22)));
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

void TourPrinter::changes(const std::vector<ItemHistory>& history) const
{
    const QString margin(ItemIndent, QLatin1Char(' '));
    for (const ItemHistory& item : history) {
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
    const Rows rows = scanRows(history);
    for (auto row = rows.cells.begin(); row != rows.cells.end(); ++row) {
        line(margin + rowLine(row.key(), row.value()));
    }
}

void TourPrinter::seen(const QString& outcome, std::chrono::milliseconds took) const
{
    wrapped(
        QStringLiteral("= %1 [%2 s]").arg(outcome).arg(static_cast<double>(took.count()) / 1000, 0, 'f', 1),
        Indent, Green);
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

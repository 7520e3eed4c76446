#include "ListRows.h"

#include "ItemJson.h"
#include "ItemNames.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <numeric>

namespace itemctl {
namespace {

constexpr int Gap = 2;
constexpr int NarrowestText = 12;

/// Lists that belong together: their items by row, in the order of the lists.
struct Table
{
    QString server;
    QString module;
    QString name; ///< "pairlist"
    std::map<int, Items> rows;
};

/// What the ids of lists that belong together begin with.
QString tableName(const QString& id)
{
    const auto* const capital =
        std::find_if(id.begin(), id.end(), [](QChar character) { return character.isUpper(); });
    return id.left(static_cast<int>(capital - id.begin()));
}

std::vector<Table> tablesOf(const Items& items)
{
    std::vector<Table> tables;
    for (const Item& item : items) {
        if (!item.index) {
            continue;
        }
        const QString name = tableName(item.id);
        const auto known = std::find_if(tables.begin(), tables.end(), [&](const Table& table) {
            return table.server == item.server && table.module == item.module && table.name == name;
        });
        Table& table =
            known != tables.end() ? *known : tables.emplace_back(Table{ item.server, item.module, name, {} });
        table.rows[*item.index] += item;
    }
    return tables;
}

/// The first list of a table tells its rows apart.
bool isEmpty(const Items& row)
{
    const QVariant& first = row.first().value;
    return first.userType() == QMetaType::QString && first.toString().isEmpty();
}

QString cellOf(const Item& item)
{
    return !item.text.isEmpty() ? escaped(item.text)
        : item.value.isValid()  ? escaped(base::rawText(item.value))
                                : QStringLiteral("-");
}

/// Columns as wide as their widest cell; where a terminal is too narrow the widest gives way.
QStringList aligned(const QVector<QStringList>& lines, const Output& output)
{
    QVector<int> widths(lines.first().size(), 0);
    for (const QStringList& cells : lines) {
        for (int column = 0; column < cells.size(); ++column) {
            widths[column] = std::max(widths[column], displayWidth(cells[column]));
        }
    }
    if (const int columns = output.columns(); columns > 0) {
        const int all = std::accumulate(widths.begin(), widths.end(), Gap * (widths.size() - 1));
        int& widest = *std::max_element(widths.begin(), widths.end());
        widest = std::max(std::min(widest, NarrowestText), widest - std::max(0, all - columns));
    }
    QStringList texts;
    for (const QStringList& cells : lines) {
        QString text;
        for (int column = 0; column < cells.size(); ++column) {
            const bool isLast = column + 1 == cells.size();
            text += isLast ? cut(cells[column], widths[column])
                           : fitted(cells[column], widths[column]) + QString(Gap, QLatin1Char(' '));
        }
        texts += text;
    }
    return texts;
}

QStringList linesOf(const Table& table, const Output& output)
{
    QVector<QStringList> lines{ { escaped(table.name) } };
    for (const Item& item : table.rows.begin()->second) {
        lines.first() += escaped(item.label);
    }
    int empty = 0;
    for (const auto& [index, row] : table.rows) {
        if (isEmpty(row)) {
            ++empty;
            continue;
        }
        QStringList cells{ QStringLiteral(":%1").arg(index) };
        std::transform(row.begin(), row.end(), std::back_inserter(cells), cellOf);
        lines += cells;
    }
    QStringList texts = aligned(lines, output);
    texts.first() = output.bold(texts.first());
    texts += output.dim(QStringLiteral("%1 of %2 rows are empty").arg(empty).arg(table.rows.size()));
    return texts;
}

} // namespace

QStringList rowTables(const Items& items, const Output& output)
{
    QStringList lines;
    for (const Table& table : tablesOf(items)) {
        lines += linesOf(table, output);
    }
    return lines;
}

QStringList rowObjects(const Items& items)
{
    QStringList objects;
    for (const Table& table : tablesOf(items)) {
        for (const auto& [index, row] : table.rows) {
            if (isEmpty(row)) {
                continue;
            }
            nlohmann::ordered_json object;
            object["server"] = table.server.toStdString();
            object["module"] = table.module.toStdString();
            object["list"] = table.name.toStdString();
            object["index"] = index;
            for (const Item& item : row) {
                object[item.id.toStdString()] = valueJson(item);
            }
            objects += base::jsonText(object);
        }
    }
    return objects;
}

base::Result<QString> takeFromRow(const Items& items, const Servers& servers, const Condition& row,
                                  const QString& take)
{
    const auto rows = findRows(items, row.item());
    if (!rows) {
        return tl::unexpected(notFound(items, servers, row.item(), rows.error()));
    }
    const auto texts = findRows(items, take);
    if (!texts) {
        return tl::unexpected(notFound(items, servers, take, texts.error()));
    }
    const auto bound = bind(row, items[rows->first()], servers);
    if (!bound) {
        return tl::unexpected(bound.error());
    }
    QStringList found;
    for (int index = 0; index < std::min(rows->size(), texts->size()); ++index) {
        if (bound->holds(items[rows->at(index)])) {
            found += base::rawText(items[texts->at(index)].value);
        }
    }
    if (found.size() == 1) {
        return found.first();
    }
    return base::error(found.isEmpty()
                           ? QStringLiteral("no row is as --row %1 says; \"itemctl list --rows\" shows them")
                                 .arg(escaped(row.text()))
                           : QStringLiteral("%1 rows are as --row %2 says: %3")
                                 .arg(found.size())
                                 .arg(escaped(row.text()), escaped(found.join(QStringLiteral(", ")))),
                       base::Failure::NoSuchItem);
}

} // namespace itemctl

#include "TopRows.h"

#include "ValueText.h"
#include "common/DisplayText.h"

#include <algorithm>
#include <map>

namespace itemctl {
namespace {

constexpr int NameColumns = 24;
constexpr int ValueColumns = 28;
constexpr int CellColumns = 22;

TopRow singleRow(const Items& items, int position)
{
    const Item& item = items[position];
    const QString value = item.isAction() ? QString() : shownValue(item);
    return { QStringLiteral("  ") + fitted(escaped(item.id), NameColumns) + QLatin1Char(' ')
                 + (item.isAction() ? QString() : fitted(value, ValueColumns) + QLatin1Char(' '))
                 + escaped(item.label),
             { position },
             item.applicable };
}

/// What the ids of a table's lists have in common: "scanresults" of "scanresultsAddr".
QString tableName(const QString& id)
{
    const auto* const end =
        std::find_if(id.begin(), id.end(), [](QChar character) { return character.isUpper(); });
    return end == id.begin() ? id : id.left(static_cast<int>(end - id.begin()));
}

bool hasContent(const Items& items, const QVector<int>& positions)
{
    return std::any_of(positions.begin(), positions.end(), [&](int position) {
        const Item& item = items[position];
        return item.applicable && (item.value.type() != QVariant::String || !item.value.toString().isEmpty());
    });
}

TopRow tableRow(const Items& items, int index, const QVector<int>& positions)
{
    QString text = QStringLiteral("  %1 ").arg(index, 3);
    for (const int position : positions) {
        text += fitted(shownValue(items[position]), CellColumns) + QLatin1Char(' ');
    }
    return { text, positions, true };
}

void addGroup(QVector<TopRow>& rows, const QString& heading, const QVector<TopRow>& group)
{
    if (group.isEmpty()) {
        return;
    }
    rows.append({ heading, {}, true });
    rows += group;
}

} // namespace

QVector<TopRow> topRows(const Items& items)
{
    using Table = std::map<int, QVector<int>>; // positions by index
    QVector<TopRow> configs;
    QVector<TopRow> results;
    QVector<TopRow> actions;
    std::map<QString, Table> tables;
    for (int i = 0; i < items.size(); ++i) {
        const Item& item = items[i];
        if (item.index) {
            tables[item.module + QLatin1Char(':') + tableName(item.id)][*item.index].append(i);
        } else if (item.isAction()) {
            actions.append(singleRow(items, i));
        } else {
            (item.kind == QLatin1String("config") ? configs : results).append(singleRow(items, i));
        }
    }
    QVector<TopRow> rows;
    addGroup(rows, QStringLiteral("Configs"), configs);
    addGroup(rows, QStringLiteral("Results"), results);
    for (const auto& [name, table] : tables) {
        QVector<TopRow> group;
        for (const auto& [index, positions] : table) {
            if (hasContent(items, positions)) {
                group.append(tableRow(items, index, positions));
            }
        }
        addGroup(rows, escaped(name), group);
    }
    addGroup(rows, QStringLiteral("Actions"), actions);
    return rows;
}

int rowAt(const QVector<TopRow>& rows, int selected, int by)
{
    const int size = rows.size();
    const int aimed = std::clamp(selected + by, 0, std::max(0, size - 1));
    for (const int step : { by < 0 ? -1 : 1, by < 0 ? 1 : -1 }) {
        for (int at = aimed; at >= 0 && at < size; at += step) {
            if (!rows[at].isHeading()) {
                return at;
            }
        }
    }
    return -1;
}

QString valuesLine(const Items& items, const QVector<int>& positions)
{
    QStringList texts;
    for (const int position : positions) {
        texts += escaped(items[position].id) + QLatin1Char(' ') + shownValue(items[position]);
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace itemctl

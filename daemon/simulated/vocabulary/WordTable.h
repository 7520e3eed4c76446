#pragma once

#include <QStringList>

#include <algorithm>

namespace bt {

/// The words of a table, in its order.
template <typename Table>
[[nodiscard]] QStringList wordsOf(const Table& table)
{
    QStringList words;
    for (const auto& row : table) {
        words << QLatin1String(row.word);
    }
    return words;
}

/// The row of a word; null when there is none.
template <typename Table>
[[nodiscard]] const typename Table::value_type* rowOf(const Table& table, const QString& word)
{
    const auto found =
        std::find_if(table.begin(), table.end(), [&word](const typename Table::value_type& row) {
            return word == QLatin1String(row.word);
        });
    return found == table.end() ? nullptr : &*found;
}

} // namespace bt

#pragma once

#include "Common.h"
#include "Item.h"

#include <QString>
#include <QVector>

namespace itemctl {

/// One line of the live view.
struct TopRow
{
    QString text;
    QVector<int> items; ///< positions of the items that it shows; none for a heading
    bool applicable = true;

    [[nodiscard]] bool isHeading() const { return items.isEmpty(); }
};

/// The items in groups: configs, results, then lists whose ids begin alike ("pairlistAddr", "pairlistName")
/// as a table with a line for each index, and actions. Lines of a list of which nothing applies, or all texts
/// are empty, are left out.
QVector<TopRow> topRows(const Items& items);

/// The row that a selection gets to when it moves by some rows: it passes over headings, and stays among the
/// rows. -1 when there is none.
int rowAt(const QVector<TopRow>& rows, int selected, int by);

/// "pairstate 3 (PIN Needed), enabled true": these items, as far as they have a value.
QString valuesLine(const Items& items, const QVector<int>& positions);

} // namespace itemctl

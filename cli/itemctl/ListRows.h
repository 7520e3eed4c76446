#pragma once

#include "Common.h"
#include "Conditions.h"
#include "Servers.h"
#include "common/Output.h"

#include <QStringList>

namespace itemctl {

/// One line per row of the lists among these items, a table for lists that belong together: those of a module
/// whose ids begin alike, up to the first capital letter ("pairlistAddr", "pairlistName"). Rows without a
/// text in their first column are counted alone.
QStringList rowTables(const Items& items, const Output& output);

/// The same rows as JSON, an object each.
QStringList rowObjects(const Items& items);

/// The value of the list \a take in the one row of the lists that belong to it for which the condition holds.
/// Fails when it holds for none or several.
base::Result<QString> takeFromRow(const Items& items, const Servers& servers, const Condition& row,
                                  const QString& take);

} // namespace itemctl

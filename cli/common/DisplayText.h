#pragma once

#include "Escaped.h"

#include <QString>

namespace cli {

using base::escaped;
using base::isUnsafeToShow;

/// Columns that the text takes on a terminal.
int displayWidth(const QString& text);

/// The text in exactly this many columns: filled with blanks, or cut with "…" at its end.
QString fitted(const QString& text, int columns);

/// The text in at most this many columns.
QString cut(const QString& text, int columns);

} // namespace cli

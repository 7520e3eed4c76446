#pragma once

#include <QString>

namespace cli {

/// Whether a terminal would act on the character instead of showing it: control characters (C0, DEL, C1),
/// line and paragraph separators, and what changes the direction of writing.
bool isUnsafeToShow(char32_t character);

/// The text with such characters written as \n, \t, \r, \xHH or \uHHHH. Names of devices come over the radio:
/// nobody who chooses one gets to steer the terminal of the person who reads it.
QString escaped(const QString& text);

/// Columns that the text takes on a terminal.
int displayWidth(const QString& text);

/// The text in exactly this many columns: filled with blanks, or cut with "…" at its end.
QString fitted(const QString& text, int columns);

/// The text in at most this many columns.
QString cut(const QString& text, int columns);

} // namespace cli

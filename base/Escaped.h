#pragma once

#include <QString>

namespace base {

/// Whether a terminal would act on the character instead of showing it: control characters (C0, DEL, C1),
/// line and paragraph separators, and what changes the direction of writing.
[[nodiscard]] bool isUnsafeToShow(char32_t character);

/// The text with such characters written as \n, \t, \r, \xHH or \uHHHH. Names of devices come over the radio:
/// nobody who chooses one gets to steer the terminal of the person who reads it.
[[nodiscard]] QString escaped(const QString& text);

} // namespace base

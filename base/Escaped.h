#pragma once

#include <QString>

namespace base {

/// Whether a terminal would act on the character or show nothing for it, instead of showing it: control
/// characters (C0, DEL, C1), line and paragraph separators, what changes the direction of writing, and what
/// has no width of its own (zero-width characters, tags, variation selectors): two names that look the same
/// are the same. So an emoji that is joined of several shows what joins it.
[[nodiscard]] bool isUnsafeToShow(char32_t character);

/// The text with such characters written as \n, \t, \r, \xHH, \uHHHH or \UHHHHHHHH. Names of devices come
/// over the radio: nobody who chooses one gets to steer the terminal of the person who reads it.
[[nodiscard]] QString escaped(const QString& text);

} // namespace base

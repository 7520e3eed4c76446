#pragma once

#include <QString>

namespace bt {

/// Tells the person at the radio what is good to know now: one line "notice: …" on standard error, which
/// whoever runs us shows at once. Names that came over the radio are shown escaped. What else is printed is
/// for whoever looks for a fault, later.
void notice(const QString& text);

} // namespace bt

#pragma once

#include <QString>

namespace base {

/// What somebody else wrote, for a message: in quotation marks, with escapes for what would steer a terminal,
/// and cut where it is long.
[[nodiscard]] QString quoted(const QString& text);

} // namespace base

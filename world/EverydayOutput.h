#pragma once

#include <QString>

namespace world {

/// What buses, host and controller printed, without the lines that runs without any fault have as well: shown
/// beside a failure, they would be taken for its reason.
[[nodiscard]] QString withoutEverydayLines(const QString& output);

} // namespace world

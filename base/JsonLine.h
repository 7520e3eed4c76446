#pragma once

#include <nlohmann/json_fwd.hpp>

#include <QString>

namespace base {

/// One line of JSON. What a terminal would act on is written as \uHHHH, so that the line is harmless there
/// and the same for a program.
QString jsonText(const nlohmann::ordered_json& value);

} // namespace base

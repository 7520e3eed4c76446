#pragma once

#include <nlohmann/json_fwd.hpp>

#include <QByteArray>

namespace recording {

/// A value of a D-Bus type in JSON, as readValue() takes it. It has an element or two where it is a list, so
/// that a reader who does not look finds something to misread.
[[nodiscard]] nlohmann::json exampleValue(const QByteArray& signature);

} // namespace recording

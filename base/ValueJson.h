#pragma once

#include <nlohmann/json_fwd.hpp>

#include <QString>
#include <QVariant>

namespace base {

/// The value alone: true or false, all digits of a number, a text as it is, anything that has parts as JSON.
/// Empty for none.
QString rawText(const QVariant& value);

/// A value that came over D-Bus, in the JSON type of its own; null for none.
nlohmann::ordered_json toJson(const QVariant& value);

/// The same with all that is needed to send it again: { "type": its D-Bus signature, "value": it }.
nlohmann::ordered_json typedJson(const QVariant& value);

} // namespace base

#pragma once

#include <nlohmann/json_fwd.hpp>

#include <QVariant>

namespace simctl {

/// A value that came over D-Bus as { "type": its signature, "value": it }, so that nothing of it is lost:
/// what is in a variant says its type again, and a dictionary is a list of [key, value] in their order.
[[nodiscard]] nlohmann::ordered_json recordedValue(const QVariant& value);

} // namespace simctl

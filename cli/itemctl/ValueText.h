#pragma once

#include "Item.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>
#include <QVariant>

namespace itemctl {

/// The value alone, as "get" prints it: true or false, all digits of a number, a text as it is, anything
/// that has parts as JSON. Empty for an action.
QString rawText(const QVariant& value);

/// The value as a person reads it: "3 (On)"; texts escaped, an empty one as "", "-" for an action and
/// for what was never written.
QString shownValue(const Item& item);

/// In the JSON type of its own; null for an action.
nlohmann::ordered_json toJson(const QVariant& value);

} // namespace itemctl

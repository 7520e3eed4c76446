#pragma once

#include "Item.h"
#include "JsonLine.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>
#include <QVariantMap>

namespace itemctl {

/// "address", "server", "module", "id", "index" (instances), "kind", "label", "value", "text" (enumerations),
/// "applicable".
nlohmann::ordered_json itemJson(const Item& item);

/// The item's "address", "server", "module", "id", "index", "kind" and "label", and what is new of "value"
/// with "text" and of "applicable".
nlohmann::ordered_json changeJson(const Item& item, Change change);

/// An item and everything that its server describes of it.
nlohmann::ordered_json descriptionJson(const Item& item, const QVariantMap& description);

} // namespace itemctl

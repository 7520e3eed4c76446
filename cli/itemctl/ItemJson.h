#pragma once

#include "Common.h"
#include "Item.h"
#include "JsonLine.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>
#include <QVariantMap>

namespace itemctl {

/// Of an enumeration an object with "value", "symbol" and "text", its label.
nlohmann::ordered_json valueJson(const Item& item);

/// "address", "server", "module", "id", "index" (instances), "kind", "label", "value", "symbol" and "text"
/// (enumerations), "applicable".
nlohmann::ordered_json itemJson(const Item& item);

/// The item's "address", "server", "module", "id", "index", "kind" and "label", and what is new of "value"
/// with "symbol" and "text", and of "applicable".
nlohmann::ordered_json changeJson(const Item& item, Change change);

/// An item and everything that its server describes of it.
nlohmann::ordered_json descriptionJson(const Item& item, const QVariantMap& description);

} // namespace itemctl

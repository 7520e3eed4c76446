#pragma once

#include "Common.h"
#include "Item.h"

#include <nlohmann/json_fwd.hpp>

#include <QStringList>
#include <QVariantMap>

namespace itemctl {

/// The enumeration's values that a description contains; none for an item of another type.
ipc::EnumValues enumerationOf(const QVariantMap& description);

/// A description as a person reads it: one "name  value" line for each thing that is known of the item.
/// @param words what its module says of it, as wordsOf() has it; those for a symbol stand behind the symbol
QStringList descriptionLines(const Item& item, const QVariantMap& description,
                             const nlohmann::ordered_json& words);

} // namespace itemctl

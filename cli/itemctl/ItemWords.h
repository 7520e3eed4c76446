#pragma once

#include "Common.h"
#include "Item.h"
#include "Result.h"

#include <nlohmann/json.hpp>

namespace itemctl {

/// What the item's module says of it to people: the member "items"/ID of MODULE.items.json, an object of
/// texts, and of such objects. The file is looked for in share/ipc of this program's own tree, then in the
/// folder ipc of every data folder ($XDG_DATA_HOME, $XDG_DATA_DIRS); the first is taken.
/// @return an empty object where there is no such file, or nothing in it about the item; an error when the
/// file cannot be read.
base::Result<nlohmann::ordered_json> wordsOf(const Item& item);

} // namespace itemctl

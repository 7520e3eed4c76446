#pragma once

#include "ItemRecord.h"
#include "items/Item.h"

namespace ipc {

/// What List and Watch say of an item.
ItemRecord listedItem(const Item& item);

/// What Changed says of an item.
ItemRecord changedItem(const Item& item, const Item::Changes& changes);

/// Everything known of an item, for Describe; keys that do not concern it are absent.
QVariantMap describedItem(const Item& item);

} // namespace ipc

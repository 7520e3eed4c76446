#pragma once

#include "ItemRecord.h"

namespace ipc {

class Item;

/// What List and Watch say of an item.
ItemRecord listedItem(const Item& item);

/// What Changed says. @param changes bits of Item::Change.
ItemRecord changedItem(const Item& item, unsigned changes);

/// Everything known of an item, for Describe; keys that do not concern it are absent.
QVariantMap describedItem(const Item& item);

} // namespace ipc

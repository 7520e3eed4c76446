#pragma once

#include "Common.h"
#include "Item.h"

#include <QStringList>
#include <QVariantMap>

namespace itemctl {

/// The enumeration's values that a description contains; none for an item of another type.
ipc::EnumValues enumerationOf(const QVariantMap& description);

/// A description as a person reads it: one "name  value" line for each thing that is known of the item.
QStringList descriptionLines(const Item& item, const QVariantMap& description);

} // namespace itemctl

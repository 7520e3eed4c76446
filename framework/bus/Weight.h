#pragma once

#include "ItemRecord.h"

#include <QVariant>

namespace ipc {

/// About how many bytes a value takes on the bus; what is long is measured exactly.
[[nodiscard]] qint64 weight(const QVariant& value);
[[nodiscard]] qint64 weight(const ItemRecord& record);

} // namespace ipc

#pragma once

#include "Common.h"
#include "Item.h"
#include "ValueJson.h"

#include <QString>

namespace itemctl {

/// The value as a person reads it: "3 (On)"; texts escaped, an empty one as "", "-" for an action and
/// for what was never written.
QString shownValue(const Item& item);

} // namespace itemctl

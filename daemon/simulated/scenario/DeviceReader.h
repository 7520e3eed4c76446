#pragma once

#include "JsonTree.h"
#include "SimulatedDevice.h"

namespace bt {

/// Understands a device of a scenario. \a called is what messages call one that has neither name nor address.
/// What is wrong ends up in \a outcome, unless there is one already.
[[nodiscard]] SimulatedDevice readDevice(const JsonValue& value, const QString& called,
                                         base::Result<>& outcome);

/// The address that a person wrote; 0 when it is none.
[[nodiscard]] qulonglong addressFrom(const QString& text);

} // namespace bt

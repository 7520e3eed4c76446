#pragma once

#include "Finding.h"

namespace bt {

/// The settings of bluetoothd that a person notices (main.conf of BlueZ describes all of them).
Findings findingsOfSettings(const QString& path);

} // namespace bt

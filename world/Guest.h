#pragma once

#include "RunOptions.h"

namespace world {

/// Runs the command in the emulated machine, in a world of its own there whose radio is BlueZ's, and leaves
/// nothing behind. Where standard input and output are a terminal, the machine's console is that terminal;
/// else they and standard error go through as they are. Needs a QCoreApplication.
/// @return the command's exit status, or 128+n when signal n ended us first.
[[nodiscard]] base::Result<int> runInGuest(const RunOptions& options);

} // namespace world

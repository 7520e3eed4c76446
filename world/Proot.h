#pragma once

#include "PrivateFilesystem.h"

namespace world {

/// Runs this program again, under proot, with the private view.
/// @param status filled with the exit status of that run.
/// @return why it did not run; empty when it ran.
[[nodiscard]] QString runUnderProot(const Layout& layout, char* const* arguments, int* status);

/// In the run under proot, the runtime folder; otherwise empty. Forgets it, so that children do not believe
/// it.
[[nodiscard]] QString takeFolderFromProot();

} // namespace world

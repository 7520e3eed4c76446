#pragma once

#include "PrivateFilesystem.h"

namespace world {

/// Runs this program again, under proot, with the private view.
/// @return the exit status of that run.
[[nodiscard]] base::Result<int> runUnderProot(const Layout& layout, char* const* arguments);

/// In the run under proot, the runtime folder; otherwise empty. Forgets it, so that children do not believe
/// it.
[[nodiscard]] QString takeFolderFromProot();

} // namespace world

#pragma once

#include "PrivateFilesystem.h"

namespace world {

/// Moves this process into a mount namespace with the private view.
/// The error names the step that failed, and why.
[[nodiscard]] base::Result<> enterMountNamespace(const Layout& layout);

} // namespace world

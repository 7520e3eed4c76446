#pragma once

#include "PrivateFilesystem.h"

namespace world {

/// Moves this process into a mount namespace with the private view.
/// @return the step that failed and why; empty when the view is there.
[[nodiscard]] QString enterMountNamespace(const Layout& layout);

} // namespace world

#pragma once

namespace world {

/// Refuses, with ENOSYS, the system calls with paths that came after proot's time and that it does not
/// rewrite: they would look past the private view. The C library and Qt fall back to the older ones.
void refuseUntranslatedCalls();

} // namespace world

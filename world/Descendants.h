#pragma once

#include <sys/types.h>

#include <chrono>
#include <vector>

namespace world {

/// Makes orphans of our children come to us instead of to init, so that they are found.
void adoptOrphans();

/// The living processes that descend from one, parents before children. @param except their trees are left
/// out.
[[nodiscard]] std::vector<pid_t> descendants(pid_t root, const std::vector<pid_t>& except = {});

/// Ends all our descendants: SIGTERM, and SIGKILL for what is left after the grace. Nobody is reaped:
/// children may have owners in this process who wait for them.
void endDescendants(const std::vector<pid_t>& except, std::chrono::milliseconds grace);

/// Takes leave of all children that have ended. For the end of a program in which nobody else waits for any.
void reapChildren();

} // namespace world

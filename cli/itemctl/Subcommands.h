#pragma once

namespace itemctl {

/// The whole of the program "itemctl". @return the exit status
int run(int argc, char** argv);

} // namespace itemctl

#pragma once

namespace host {

/// The whole of the program "bluetoothlauncher": constructs the module and serves it until SIGTERM or SIGINT.
/// @return the exit status: 0 after an orderly end, 1 when the module cannot be served (any longer), 2 for
/// wrong usage.
int launch(int argc, char** argv);

} // namespace host

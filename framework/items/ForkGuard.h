#pragma once

#include "IpcExport.h"

namespace ipc {

/// Remembers the calling process as the one that the framework serves. Only the first call counts.
IPC_EXPORT void guardThisProcess();

/// Ends a forked copy of the guarded process at once, with _exit(127) and without unwinding; does nothing in
/// the process itself. A module may fork in order to start a program, and the copy comes back to us when that
/// program cannot be executed. The copy shares the bus connection's socket but has none of its threads: a
/// message sent by it would corrupt the stream, a reply would never arrive.
IPC_EXPORT void leaveIfForked();

} // namespace ipc

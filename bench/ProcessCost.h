#pragma once

#include <string>
#include <sys/types.h>

/// What a process has cost so far.
double cpuMicroseconds(pid_t process);
/// What the processes have cost that this one started and that have ended.
double endedChildrenMicroseconds();
/// Memory that is its own and written to, in KiB.
long ownMemory(pid_t process);
/// Its memory in kB, as this line of its status tells: "VmRSS:", "VmHWM:", ….
long memoryOf(pid_t process, const std::string& line);

#pragma once

#include <sys/types.h>

/// What a process has cost so far.
double cpuMicroseconds(pid_t process);
/// Memory that is its own and written to, in KiB.
long ownMemory(pid_t process);

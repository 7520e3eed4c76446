#include "ProcessCost.h"

#include <ctime>
#include <fstream>
#include <string>
#include <sys/resource.h>

double cpuMicroseconds(pid_t process)
{
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        return 0;
    }
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double endedChildrenMicroseconds()
{
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto microseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
    };
    return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

long ownMemory(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/smaps_rollup");
    std::string word;
    long amount = 0;
    while (status >> word) {
        if (word == "Private_Dirty:" && status >> amount) {
            return amount;
        }
    }
    return 0;
}

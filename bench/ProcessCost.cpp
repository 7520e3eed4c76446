#include "ProcessCost.h"

#include <ctime>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace {

long amountIn(pid_t process, const std::string& file, const std::string& line)
{
    std::ifstream status("/proc/" + std::to_string(process) + '/' + file);
    std::string word;
    long amount = 0;
    while (status >> word) {
        if (word == line && status >> amount) {
            return amount;
        }
    }
    return 0;
}

} // namespace

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
    return amountIn(process, "smaps_rollup", "Private_Dirty:");
}

long memoryOf(pid_t process, const std::string& line)
{
    return amountIn(process, "status", line);
}

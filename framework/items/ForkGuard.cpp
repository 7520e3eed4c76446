#include "ForkGuard.h"

#include <atomic>
#include <pthread.h>
#include <unistd.h>

namespace ipc {
namespace {

std::atomic_bool isForkedCopy{ false };

} // namespace

void guardThisProcess()
{
    static const int registered = pthread_atfork(nullptr, nullptr, [] { isForkedCopy = true; });
    static_cast<void>(registered);
}

void leaveIfForked()
{
    if (isForkedCopy) {
        _exit(127);
    }
}

} // namespace ipc

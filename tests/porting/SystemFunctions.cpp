#include "SystemFunctions.h"

#include "framework/Record.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

bool SystemFunctions::areRecorded = false;
QByteArray SystemFunctions::hostName;
bool SystemFunctions::popenFails = false;
bool SystemFunctions::fopenFails = false;
int SystemFunctions::systemStatus = 0;
pid_t SystemFunctions::forked = -1;
int SystemFunctions::unlinkError = 0;

namespace {

using Calls = SystemFunctions;
using recording::record;

char* written = nullptr;
std::size_t writtenSize = 0;

} // namespace

// Names as the linker makes them.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)
extern "C" {

pid_t __real_fork();
pid_t __real_waitpid(pid_t process, int* status, int options);
int __real_kill(pid_t process, int number);
int __real_prctl(int option, ...);
int __real_unlink(const char* path);
FILE* __real_fopen(const char* path, const char* mode);
int __real_fclose(FILE* file);
void __real_perror(const char* text);

FILE* __wrap_popen(const char* command, const char* mode)
{
    record("popen", command, mode);
    return Calls::popenFails
        ? nullptr
        : fmemopen(Calls::hostName.data(), static_cast<std::size_t>(Calls::hostName.size()), "r");
}

int __wrap_pclose(FILE* stream)
{
    record("pclose");
    return __real_fclose(stream);
}

int __wrap_system(const char* command)
{
    record("system", command);
    return Calls::systemStatus;
}

pid_t __wrap_fork()
{
    if (!Calls::areRecorded) {
        return __real_fork();
    }
    record("fork ->", Calls::forked);
    return Calls::forked;
}

int __wrap_prctl(int option, ...)
{
    std::va_list arguments;
    va_start(arguments, option);
    const int argument = va_arg(arguments, int);
    va_end(arguments);
    if (!Calls::areRecorded) {
        return __real_prctl(option, argument);
    }
    record("prctl", option, argument);
    return 0;
}

int __wrap_execl(const char* path, const char* first, ...)
{
    QStringList words{ first };
    std::va_list arguments;
    va_start(arguments, first);
    while (const char* word = va_arg(arguments, const char*)) {
        words << QString::fromUtf8(word).replace('\n', "\\n");
    }
    va_end(arguments);
    record("execl", path, QString(words.join(' ')));
    errno = ENOENT;
    return -1;
}

void __wrap_perror(const char* text)
{
    Calls::areRecorded ? record("perror", text) : __real_perror(text);
}

int __wrap_kill(pid_t process, int number)
{
    if (!Calls::areRecorded) {
        return __real_kill(process, number);
    }
    record("kill", process, number);
    return 0;
}

pid_t __wrap_waitpid(pid_t process, int* status, int options)
{
    if (!Calls::areRecorded) {
        return __real_waitpid(process, status, options);
    }
    record("waitpid", process, status == nullptr ? "no status" : "status", options);
    return process;
}

int __wrap_unlink(const char* path)
{
    if (!Calls::areRecorded) {
        return __real_unlink(path);
    }
    record("unlink", path);
    errno = Calls::unlinkError;
    return Calls::unlinkError == 0 ? 0 : -1;
}

FILE* __wrap_fopen(const char* path, const char* mode)
{
    if (!Calls::areRecorded) {
        return __real_fopen(path, mode);
    }
    record("fopen", path, mode);
    return Calls::fopenFails ? nullptr : open_memstream(&written, &writtenSize);
}

int __wrap_fclose(FILE* file)
{
    const int result = __real_fclose(file);
    if (Calls::areRecorded) {
        record("fclose", QString::fromUtf8(written, static_cast<int>(writtenSize)));
        std::free(std::exchange(written, nullptr)); // NOLINT(cppcoreguidelines-no-malloc): as it was given
    }
    return result;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

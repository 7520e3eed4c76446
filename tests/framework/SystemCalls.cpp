#include "SystemCalls.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

QStringList SystemCalls::made;
int SystemCalls::fsyncError = 0;
int SystemCalls::folderError = 0;
int SystemCalls::killedAfter = -1;

namespace {

QString shown(const QString& path)
{
    static const QRegularExpression random("\\.[A-Za-z0-9]{6}\\.unfinished$");
    return QFileInfo(path).fileName().replace(random, ".XXXXXX.unfinished");
}

void note(const QString& call)
{
    if (SystemCalls::made.size() == SystemCalls::killedAfter) {
        raise(SIGKILL);
    }
    SystemCalls::made << call;
}

} // namespace

// The C library's own parameter names are reserved for it.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
int fsync(int descriptor)
{
    const QString path = QFile::symLinkTarget(QString("/proc/self/fd/%1").arg(descriptor));
    note("fsync " + shown(path));
    const int error = QFileInfo(path).isDir() ? SystemCalls::folderError : SystemCalls::fsyncError;
    if (error != 0) {
        errno = error;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

int rename(const char* from, const char* to) noexcept
{
    note(QString("rename %1 %2").arg(shown(QFile::decodeName(from)), shown(QFile::decodeName(to))));
    return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0U));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

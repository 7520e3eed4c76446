#include "AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ipc {
namespace {

const QLatin1String UnfinishedSuffix{ ".unfinished" };
constexpr mode_t OwnerAlone = S_IRWXU;

QString lastError()
{
    return qt_error_string(errno);
}

/// Where the bytes of a file are: behind its symbolic links.
QString target(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? path : canonical;
}

/// A new name is on the disk once the folder that holds it is.
bool syncFolder(const QString& path)
{
    const int folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return false;
    }
    // EINVAL: a file system whose folders cannot be synchronised one by one.
    const bool synced = fsync(folder) == 0 || errno == EINVAL;
    const int error = errno;
    close(folder);
    errno = error;
    return synced;
}

/// Writes a new file and synchronises it. @param name becomes that file's name.
QString writeNew(QByteArray& name, const QByteArray& content)
{
    const int descriptor = mkostemps(name.data(), UnfinishedSuffix.size(), O_CLOEXEC); // with 0600
    if (descriptor < 0) {
        return lastError();
    }
    QFile file;
    const bool written =
        file.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)
        && file.write(content) == content.size();
    if (!written) {
        return file.errorString();
    }
    return fsync(descriptor) == 0 ? QString() : lastError();
}

} // namespace

QString makePrivateFolder(const QString& path)
{
    const QFileInfo folder(QDir::cleanPath(path));
    if (folder.isDir()) {
        return {};
    }
    const QString parent = folder.absolutePath();
    if (QString problem = makePrivateFolder(parent); !problem.isEmpty()) {
        return problem;
    }
    const QByteArray name = QFile::encodeName(folder.absoluteFilePath());
    if (mkdir(name.constData(), OwnerAlone) != 0 && !(errno == EEXIST && folder.isDir())) {
        return QStringLiteral("%1: %2").arg(folder.absoluteFilePath(), lastError());
    }
    return syncFolder(parent) ? QString() : QStringLiteral("%1: %2").arg(parent, lastError());
}

QString replaceFile(const QString& path, const QByteArray& content)
{
    const QString replaced = target(path);
    QByteArray unfinished = QFile::encodeName(replaced + QLatin1String(".XXXXXX") + UnfinishedSuffix);
    QString problem = writeNew(unfinished, content);
    if (problem.isEmpty()
        && std::rename(unfinished.constData(), QFile::encodeName(replaced).constData()) != 0) {
        problem = lastError();
    }
    if (!problem.isEmpty()) {
        unlink(unfinished.constData());
        return problem;
    }
    return syncFolder(QFileInfo(replaced).absolutePath()) ? QString() : lastError();
}

void removeUnfinished(const QString& path)
{
    const QFileInfo file(target(path));
    const QRegularExpression name(QRegularExpression::anchoredPattern(
        QRegularExpression::escape(file.fileName()) + QLatin1String("\\.[A-Za-z0-9]{6}")
        + QRegularExpression::escape(UnfinishedSuffix)));
    QDir folder = file.absoluteDir();
    const QStringList entries = folder.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& unfinished : entries.filter(name)) {
        folder.remove(unfinished);
    }
}

} // namespace ipc

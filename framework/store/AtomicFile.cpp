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

Error lastError(const QString& subject = {})
{
    const QString reason = qt_error_string(errno);
    return { Error::Kind::Failed,
             subject.isEmpty() ? reason : QStringLiteral("%1: %2").arg(subject, reason) };
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
Outcome<Done> writeNew(QByteArray& name, const QByteArray& content)
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
        return Error{ Error::Kind::Failed, file.errorString() };
    }
    return fsync(descriptor) == 0 ? Outcome<Done>(Done()) : lastError();
}

} // namespace

Outcome<Done> makePrivateFolder(const QString& path)
{
    const QFileInfo folder(QDir::cleanPath(path));
    if (folder.isDir()) {
        return Done();
    }
    const QString parent = folder.absolutePath();
    if (auto made = makePrivateFolder(parent); !made) {
        return made;
    }
    const QByteArray name = QFile::encodeName(folder.absoluteFilePath());
    if (mkdir(name.constData(), OwnerAlone) != 0 && !(errno == EEXIST && folder.isDir())) {
        return lastError(folder.absoluteFilePath());
    }
    return syncFolder(parent) ? Outcome<Done>(Done()) : lastError(parent);
}

Outcome<Done> replaceFile(const QString& path, const QByteArray& content)
{
    const QString replaced = target(path);
    QByteArray unfinished = QFile::encodeName(replaced + QLatin1String(".XXXXXX") + UnfinishedSuffix);
    Outcome<Done> written = writeNew(unfinished, content);
    if (written && std::rename(unfinished.constData(), QFile::encodeName(replaced).constData()) != 0) {
        written = lastError();
    }
    if (!written) {
        unlink(unfinished.constData());
        return written;
    }
    return syncFolder(QFileInfo(replaced).absolutePath()) ? written : lastError();
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

#include "RuntimeFolder.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <fcntl.h>
#include <sys/file.h>

#include <cstdlib>

namespace world {

namespace {

const QString& prefix()
{
    static const QString text = QStringLiteral("bluetoothworld-");
    return text;
}

/// Whether a folder can stand behind overlays (whose options know no commas and colons) and stays visible
/// in the world.
bool isSuitable(const QString& parent)
{
    const QString path = QFileInfo(parent).canonicalFilePath();
    const QString hidden = QFileInfo(QStringLiteral("/tmp")).canonicalFilePath();
    if (path.isEmpty() || path == hidden || path.startsWith(hidden + QLatin1Char('/'))) {
        return false;
    }
    for (const char* special : { ":", ",", "\\" }) {
        if (path.contains(QLatin1String(special))) {
            return false;
        }
    }
    return access(QFile::encodeName(path).constData(), W_OK | X_OK) == 0;
}

FileDescriptor lock(const QString& folder)
{
    FileDescriptor fd(open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.isOpen() || flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
        return {};
    }
    return fd;
}

/// A world that was killed could not clean up. The minute protects one that is just being set up, between
/// making its folder and locking it.
void removeAbandoned(const QString& parent)
{
    const QDateTime young = QDateTime::currentDateTime().addSecs(-60);
    const auto folders =
        QDir(parent).entryInfoList({ prefix() + QLatin1Char('*') }, QDir::Dirs | QDir::Hidden);
    for (const QFileInfo& folder : folders) {
        if (folder.ownerId() == geteuid() && folder.lastModified() < young
            && lock(folder.filePath()).isOpen()) {
            QDir(folder.filePath()).removeRecursively();
        }
    }
}

} // namespace

RuntimeFolder::~RuntimeFolder()
{
    remove();
}

base::Result<> RuntimeFolder::create()
{
    const QStringList parents{ qEnvironmentVariable("XDG_RUNTIME_DIR"), QStringLiteral("/dev/shm"),
                               QStringLiteral("/var/tmp") };
    for (const QString& parent : parents) {
        if (!isSuitable(parent)) {
            continue;
        }
        removeAbandoned(parent);
        QByteArray name = QFile::encodeName(parent + QLatin1Char('/') + prefix() + QStringLiteral("XXXXXX"));
        if (mkdtemp(name.data()) != nullptr) {
            m_path = QFile::decodeName(name);
            m_lock = lock(m_path);
            m_owned = true;
            return {};
        }
    }
    return base::error(
        QStringLiteral("no folder for the world's sockets: $XDG_RUNTIME_DIR, /dev/shm and /var/tmp cannot be "
                       "written or lie below /tmp"));
}

void RuntimeFolder::adopt(const QString& path)
{
    m_path = path;
}

void RuntimeFolder::remove()
{
    if (m_owned) {
        QDir(m_path).removeRecursively();
    }
    m_owned = false;
    m_lock.reset();
    m_path.clear();
}

} // namespace world

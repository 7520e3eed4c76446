#pragma once

#include "FileDescriptor.h"
#include "Result.h"

#include <QString>

namespace world {

/// The folder of one running world: sockets, the host's state, what lies behind the private view. Only its
/// owner may enter it, and it is outside of /tmp, which the world hides.
class RuntimeFolder
{
public:
    RuntimeFolder() = default;
    ~RuntimeFolder();
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    /// Makes a new folder in $XDG_RUNTIME_DIR, /dev/shm or /var/tmp, the first that can be written. Folders
    /// of worlds that were killed are removed on the way.
    [[nodiscard]] base::Result<> create();
    /// Uses the folder of another process, which removes it.
    void adopt(const QString& path);
    void remove();

    [[nodiscard]] const QString& path() const { return m_path; }
    [[nodiscard]] QString filePath(const QString& name) const { return m_path + QLatin1Char('/') + name; }

private:
    QString m_path;
    FileDescriptor m_lock; ///< held while the folder is in use
    bool m_owned = false;
};

} // namespace world

#pragma once

#include <QString>
#include <QStringList>

namespace world {

/// Of the paths that a caller named or stands in, those that the world's own /tmp would hide: existing,
/// strictly below /tmp, as they were written and without symbolic links. One that lies in another is left
/// out; each comes after those that are shorter.
[[nodiscard]] QStringList pathsBelowTmp(const QStringList& paths);

/// Makes what the path's own file or folder can be bound to, and the folders above.
[[nodiscard]] bool makeMountPoint(const QString& path, bool isFolder);

/// The folders that the running program needs to be found in: its build, and the checkout around that.
[[nodiscard]] QStringList foldersOfThisProgram();

} // namespace world

#pragma once

#include "IpcExport.h"
#include "Outcome.h"

#include <QByteArray>
#include <QString>

namespace ipc {

/// Makes a folder for its owner alone (0700), and so those above it that are missing. A folder that is there
/// keeps its permissions.
[[nodiscard]] IPC_EXPORT Outcome<Done> makePrivateFolder(const QString& path);

/// Replaces a file as a whole. It is readable by its owner alone from the first byte on, and on the disk when
/// this returns: after a power failure at any moment the file is the old one or the new one. Until it is
/// complete it stands beside the file as "NAME.XXXXXX.unfinished".
/// @param path of a file in an existing folder; a symbolic link stays one, and what it points at is replaced.
[[nodiscard]] IPC_EXPORT Outcome<Done> replaceFile(const QString& path, const QByteArray& content);

/// Removes what a writer left beside the file that was killed before it could complete it, and nothing else.
IPC_EXPORT void removeUnfinished(const QString& path);

} // namespace ipc

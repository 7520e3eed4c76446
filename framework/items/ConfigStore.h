#pragma once

#include <QString>
#include <QStringList>

namespace ipc {

class ModuleItems;

/// Where a server keeps the configs of its modules, as a module sees it.
class ConfigStore
{
public:
    virtual ~ConfigStore() = default;

    /// Applies what a file holds for a module, as announced writes.
    /// @return false when the file is there and was not read; what was wrong is on the warning stream.
    virtual bool load(ModuleItems& items, const QString& path) = 0;

    /// Stores these configs of a module: in the server's own file with the server's next write, together with
    /// those of the other modules; in any other file at once.
    /// @return false when the file cannot be written; what was wrong is on the warning stream.
    virtual bool save(const ModuleItems& items, const QStringList& ids, const QString& path) = 0;
};

} // namespace ipc

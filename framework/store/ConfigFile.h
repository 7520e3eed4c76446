#pragma once

#include "IpcExport.h"
#include "Outcome.h"
#include "items/ConfigStore.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace ipc {

/// The configs of a server's modules, in one JSON file:
///
///     { "modules": { "bluetooth": { "values": { "enabled": true, … }, "beyondLimits": { "pinreplycfg": "" }
///     } }
///     }
///
/// "beyondLimits" names the values that the module itself stored although a client may not: they load as
/// they are. Any other value beyond the limits was put there by hand, is reported, and the default applies.
///
/// What no module of today knows (another module's section, an id of a newer release) stays in the file.
class IPC_EXPORT ConfigFile : public ConfigStore
{
public:
    /// @param modules all that read it; a section of another name, where one of theirs is missing, is told.
    explicit ConfigFile(QString path, QStringList modules = {});

    [[nodiscard]] const QString& path() const { return m_path; }

    /// Applies what is stored for a module as announced writes, in the order of the file's ids. A missing
    /// file is no error. What is no regular file, or too large, or cannot be understood, is set aside under a
    /// new name, and the defaults apply.
    /// @return false when the file is there and was not read; what was wrong is on the warning stream.
    [[nodiscard]] bool load(ModuleItems& items) const;

    bool load(ModuleItems& items, const QString& path) override;
    bool save(const ModuleItems& items, const QStringList& ids, const QString& path) override;

    /// Takes a module along in the next write(). Its values are read by that write; it has to live until
    /// one has succeeded.
    void gather(const ModuleItems& items, const QStringList& ids);

    /// Replaces what is stored for the modules that were gathered since the last write that succeeded, all in
    /// one step: the file is replaced as a whole, or not touched when it says the same already, is on the
    /// disk when this returns, and is readable by its owner alone. Its folder is made again if it was
    /// removed.
    /// @return false when it could not be written; what was wrong is on the warning stream, once until it
    ///         can be written again.
    [[nodiscard]] bool write();

private:
    struct Gathered
    {
        const ModuleItems* items;
        QStringList ids;
    };
    [[nodiscard]] Outcome<Done> replace() const;

    QString m_path;
    QStringList m_modules;
    std::vector<Gathered> m_gathered;
    bool m_isFailing = false;
};

} // namespace ipc

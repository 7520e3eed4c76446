#pragma once

#include <QString>
#include <QStringList>

namespace ipc {

class ModuleItems;

/// The configs of a server's modules, in one JSON file:
///
///     { "modules": { "bluetooth": { "values": { "enabled": true, … }, "beyondLimits": [ "pinreplycfg" ] } }
///     }
///
/// "beyondLimits" names the values that the module itself stored although a client may not: they load as
/// they are. Any other value beyond the limits was put there by hand, is reported, and the default applies.

/// Applies what is stored for a module as announced writes, in the order of the file's ids. A missing file is
/// no error. A file that cannot be understood is set aside under a new name, and the defaults apply.
/// @return false when the file is there and was not read; what was wrong is on the warning stream.
bool loadConfigs(const QString& path, ModuleItems& items);

/// Replaces what is stored for a module; other modules' configs stay. The file is replaced as a whole, is on
/// the disk when this returns, and is readable by its owner alone.
/// @return false when it could not be written; what was wrong is on the warning stream.
bool saveConfigs(const QString& path, const ModuleItems& items, const QStringList& ids);

} // namespace ipc

#pragma once

#include "Result.h"

#include <QString>
#include <QStringList>

#include <vector>

class QObject;
class RegistrationModule;

namespace host {

/// Makes the modules of these files, children of a parent, in their order: none is made before each file has
/// been opened. A file stays open for as long as the process lives: a module's types, texts and translations
/// are referred to from places that nobody can count.
/// The error names the file and what is wrong with it.
[[nodiscard]] base::Result<std::vector<RegistrationModule*>> makeModules(const QStringList& files,
                                                                         QObject& parent);

/// The module file of this program: ../lib/bluetoothlauncher/bluetooth-entry.so, seen from its folder.
[[nodiscard]] QString defaultModuleFile();

/// What a module threw, in words; to be called where it is caught.
[[nodiscard]] QString thrownText();

} // namespace host

#pragma once

#include "ModuleEntry.h"
#include "Result.h"

#include <QString>

namespace host {

/// Opens a module file, for as long as the process lives: a module's types, texts and translations are
/// referred to from places that nobody can count.
/// The error names the file and what is wrong with it.
[[nodiscard]] base::Result<ModuleFactory> openModule(const QString& file);

/// The module file beside this program: ../lib/bluetooth-entry.so, seen from the program's folder.
[[nodiscard]] QString defaultModuleFile();

} // namespace host

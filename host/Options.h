#pragma once

#include "Result.h"

#include <QString>
#include <QStringList>

namespace host {

/// What the command line says.
struct Options
{
    QString stateFolder; ///< where the configs are kept
    QStringList moduleFiles; ///< of the modules beside Bluetooth
    QString answer; ///< help or version, where it is asked for: to be printed instead of serving
};

/// @param arguments the command line, with the program's name.
[[nodiscard]] base::Result<Options> readOptions(const QStringList& arguments);

} // namespace host

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
    QString help; ///< asked for, to be shown instead of serving
};

/// @param arguments the command line, with the program's name.
[[nodiscard]] base::Result<Options> readOptions(const QStringList& arguments);

} // namespace host

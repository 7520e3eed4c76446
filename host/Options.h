#pragma once

#include <QString>

#include <optional>

namespace host {

/// What the command line says.
struct Options
{
    QString stateFolder; ///< where the configs are kept
    QString moduleFile; ///< empty for the one beside the program
};

/// Reads the command line. Where that ends the program, as for --help, what is to be said is printed.
/// @param exitStatus filled when there are no options to go on with: 0 after --help, 2 for wrong usage.
[[nodiscard]] std::optional<Options> readOptions(int argc, char** argv, int* exitStatus);

} // namespace host

#pragma once

#include <CLI/CLI.hpp>

#include <QString>

namespace cli {

/// What the manual page says of the command line, in mdoc(7): the subcommands with their arguments and
/// options, and what the options of each mean.
[[nodiscard]] QString manual(const CLI::App& program);

} // namespace cli

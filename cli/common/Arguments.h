#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace cli {

/// Empty for a number of seconds that can be waited for, otherwise what would be right.
[[nodiscard]] std::string checkSeconds(const std::string& text);

/// Prints help or version when that was asked for, otherwise one line that says why the command line is not
/// understood, with the subcommand whose help to read. @return the exit status
[[nodiscard]] int report(const CLI::App& app, const CLI::ParseError& error);

} // namespace cli

#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace cli {

/// Empty for a number of seconds that can be waited for, otherwise what would be right.
[[nodiscard]] std::string checkSeconds(const std::string& text);

/// Fills what \a app was told to. Prints help or version when that was asked for ("help [SUBCOMMAND]" asks as
/// well), and one line that says why the command line is not understood, what was probably meant, and whose
/// help to read.
/// @return the exit status when that is all there is to do
[[nodiscard]] std::optional<int> parse(CLI::App& app, int argc, const char* const* argv);

[[nodiscard]] std::chrono::milliseconds milliseconds(double seconds);

} // namespace cli

#pragma once

#include "Completion.h"
#include "Output.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <functional>
#include <string>

namespace cli {

/// Empty for a number of seconds that can be waited for, otherwise what would be right.
[[nodiscard]] std::string checkSeconds(const std::string& text);

/// The whole of a program: fills what \a app was told to, then does \a run in an application, and says why
/// that failed if it did. Prints help or version when that was asked for ("help [SUBCOMMAND]" asks as well),
/// or one line that says why the command line is not understood, what was probably meant, and whose help to
/// read.
/// "complete -- WORD..." answers the shells' completion, with what \a offers knows; "manual"
/// tells what the manual page has to say of subcommands and options.
/// @return the exit status
[[nodiscard]] int runProgram(CLI::App& app, int argc, char** argv,
                             const std::function<base::Result<ExitStatus>(Output&)>& run,
                             const CompletionOffers& offers);

[[nodiscard]] std::chrono::milliseconds milliseconds(double seconds);

} // namespace cli

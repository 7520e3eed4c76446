#pragma once

#include <QStringList>

#include <string>

namespace base {

/// The answer to "--version", alike for all programs: "itemctl 1.2.3".
[[nodiscard]] std::string versionOf(const std::string& program);

/// Prints the answer where the version is all that is asked for.
/// @param arguments the command line, with the program's name.
/// @return whether it was.
[[nodiscard]] bool tellVersion(const std::string& program, const QStringList& arguments);

} // namespace base

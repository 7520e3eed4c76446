#pragma once

#include "RecordingReader.h"
#include "Scenario.h"

#include <QStringList>

#include <variant>

namespace bt {

/// The scenario that a simulation starts with when nobody chose one.
inline constexpr const char* DefaultScenario = "room";

/// The folder of the scenarios that come with the program: ../share/bluesim/scenarios beside its own folder.
[[nodiscard]] QString scenarioFolder();
/// Their names, sorted.
[[nodiscard]] QStringList scenarioNames();

/// @return the file of a scenario: \a nameOrPath itself when it has a '/', otherwise the one that comes with
/// the program by that name, otherwise the one in the current folder.
[[nodiscard]] base::Result<QString> findScenario(const QString& nameOrPath);

/// @return what the file holds, a recording when its name ends with ".rec". The error begins with "FILE:LINE:
/// ".
[[nodiscard]] base::Result<std::variant<Scenario, recording::RecordedRun>> loadScenario(const QString& path);

/// The error is what keeps a scenario from being simulated.
[[nodiscard]] base::Result<> checkScenario(const QString& nameOrPath);

} // namespace bt

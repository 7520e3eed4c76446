#pragma once

#include "Scenario.h"

#include <QString>

#include <variant>

namespace bt {

/// What the environment says about a simulation; the command line belongs to the module.
struct Settings
{
    double timeScale = 1; ///< BLUESIM_TIME_SCALE
    bool isPaused = false; ///< BLUESIM_PAUSED is 1: the clock stands still until it is driven
    quint32 seed = 1; ///< BLUESIM_SEED
    QString scenarioFile; ///< BLUESIM_SCENARIO, a name or the path of a file
    QString stateFile; ///< BLUESIM_STATE; empty keeps nothing

    /// @return the settings, or which variable is wrong and what would be right.
    [[nodiscard]] static std::variant<Settings, QString> fromEnvironment();
};

} // namespace bt

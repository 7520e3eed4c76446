#pragma once

#include "Result.h"

#include <QString>

namespace bt {

/// What the environment says about a simulation; the command line belongs to the module.
struct Settings
{
    double timeScale = 1; ///< BLUESIM_TIME_SCALE
    bool isPaused = false; ///< BLUESIM_PAUSED is 1: the clock stands still until it is driven
    quint32 seed = 1; ///< BLUESIM_SEED
    QString scenarioFile; ///< BLUESIM_SCENARIO, a name or the path of a file
    QString stateFile; ///< BLUESIM_STATE; empty keeps nothing

    /// The error names the variable.
    [[nodiscard]] static base::Result<Settings> fromEnvironment();
};

} // namespace bt

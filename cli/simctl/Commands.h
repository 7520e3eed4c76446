#pragma once

#include "Request.h"
#include "SimulationClient.h"
#include "common/Output.h"

namespace simctl {

/// Does what was asked for; results and reasons have gone to the output.
base::Result<cli::ExitStatus> run(const Request& request, cli::Output& output);

// The subcommands that need the simulation.
base::Result<cli::ExitStatus> runDevices(const Request& request, const SimulationClient& simulation,
                                         cli::Output& output);
base::Result<cli::ExitStatus> runNames(const Request& request, const SimulationClient& simulation,
                                       cli::Output& output);
base::Result<cli::ExitStatus> runDeviceChange(const Request& request, const SimulationClient& simulation);
base::Result<cli::ExitStatus> runFault(const Request& request, const SimulationClient& simulation,
                                       cli::Output& output);
base::Result<cli::ExitStatus> runCalls(const Request& request, const SimulationClient& simulation,
                                       cli::Output& output);
base::Result<cli::ExitStatus> runTime(const Request& request, const SimulationClient& simulation,
                                      cli::Output& output);

/// Words for the completion, which are there without a simulation.
base::Result<cli::ExitStatus> runWords(const Request& request, cli::Output& output);

/// Needs a daemon, of whatever kind, or waits for one.
base::Result<cli::ExitStatus> runRecord(const Request& request, cli::Output& output);

/// Waits for an answer that is nothing but done.
base::Result<cli::ExitStatus> conclude(const base::Result<>& answer);

} // namespace simctl

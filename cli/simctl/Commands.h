#pragma once

#include "Request.h"
#include "Simulation.h"
#include "common/Output.h"

namespace simctl {

/// Does what was asked for; results and reasons have gone to the output.
cli::ExitStatus run(const Request& request, cli::Output& output);

// The subcommands that need the simulation.
cli::ExitStatus runDevices(const Request& request, const Simulation& simulation, cli::Output& output);
cli::ExitStatus runNames(const Request& request, const Simulation& simulation, cli::Output& output);
cli::ExitStatus runDeviceChange(const Request& request, const Simulation& simulation, cli::Output& output);
cli::ExitStatus runFault(const Request& request, const Simulation& simulation, cli::Output& output);
cli::ExitStatus runCalls(const Request& request, const Simulation& simulation, cli::Output& output);
cli::ExitStatus runTime(const Request& request, const Simulation& simulation, cli::Output& output);

/// Words for the completion, which are there without a simulation.
cli::ExitStatus runWords(const Request& request, cli::Output& output);

/// Needs a daemon, of whatever kind, or waits for one.
cli::ExitStatus runRecord(const Request& request, cli::Output& output);

/// Ends a command: says why it failed, if it did.
cli::ExitStatus conclude(const cli::Failure& failure, cli::Output& output);

} // namespace simctl

#pragma once

#include "SimulationClient.h"
#include "common/Completion.h"
#include "common/Output.h"

#include <CLI/CLI.hpp>

#include <QStringList>

#include <chrono>
#include <optional>

namespace simctl {

/// The whole of the program "simctl". @return the exit status
int run(int argc, char** argv);

/// What the command line asks for.
struct Request
{
    bool json = false;
    QStringList arguments; ///< in the order of the help
    QString description; ///< of add: the device as a JSON object
    double seconds = 0; ///< of move
    std::optional<std::chrono::milliseconds> timeout; ///< of record
};

/// What a subcommand does. Its results and reasons have gone to the output.
using Command = base::Result<cli::ExitStatus>(const Request& request, const SimulationClient& simulation,
                                              cli::Output& output);
Command addDevice;
Command moveDevice;
Command answerPairing;
Command showDevices;
Command driveFaults;
Command showCalls;
Command driveTime;

/// What happens to the device that the request names alone.
base::Result<cli::ExitStatus> changeDevice(const Request& request, const SimulationClient& simulation,
                                           QDBusPendingReply<> (SimulationProxy::*change)(const QString&));

/// Needs a daemon, of whatever kind, or waits for one.
base::Result<cli::ExitStatus> record(const Request& request, cli::Output& output);

/// The options of add, and the device that they describe.
void addNewDevice(CLI::App& app, Request& request);

/// What the simulation and its words have to offer to the shells' completion.
QStringList offers(const cli::CompletionPlace& place);

/// Empty for a signal strength in dBm, otherwise what would be right.
std::string checkSignal(const std::string& text);

/// Waits for an answer that is nothing but done.
base::Result<cli::ExitStatus> conclude(const base::Result<>& answer);

} // namespace simctl

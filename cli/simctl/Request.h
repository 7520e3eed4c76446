#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace simctl {

/// What the command line asks for.
struct Request
{
    enum class Command {
        Devices,
        Add,
        Remove,
        Return,
        Move,
        Drop,
        Connect,
        PairRequest,
        Answer,
        Fault,
        Calls,
        Time,
        Record,
        Names
    };

    Command command = Command::Devices;
    bool json = false;
    /// Of add the name; of the commands about a device that device, and what follows it; of fault and time
    /// the words; of record the file; of names what it names.
    QStringList arguments;
    QString description; ///< of add: the device as a JSON object
    double seconds = 0; ///< of move
    std::optional<std::chrono::milliseconds> timeout; ///< of record
};

/// The whole of the program "simctl". @return the exit status
int run(int argc, char** argv);

} // namespace simctl

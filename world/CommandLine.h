#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace world {

/// What a person asked ./run for. Paths are absolute.
struct CommandLine
{
    QString controller; ///< the program of --radio
    bool machineBus = false; ///< the controller also speaks to the machine's own system bus
    QString scenario; ///< a name, or the path of a file; one that can be simulated
    QString state;
    QString log;
    QString host; ///< empty is this build's
    QStringList command; ///< never empty
    bool isTour = false;
    bool isLiveView = false; ///< the command is that of a person who gave none, on a terminal
    QStringList named; ///< every path that was named, for the view of /tmp
};

/// An answer to give instead of running anything.
struct Answer
{
    int status = 0;
    QString text; ///< for standard output when the status is 0, otherwise for standard error
};

/// Reads the arguments of main(); either a command line or an answer.
struct Parsed
{
    std::optional<CommandLine> commandLine;
    Answer answer;
};

[[nodiscard]] Parsed parseCommandLine(int count, char* const* arguments);

} // namespace world

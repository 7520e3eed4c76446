#pragma once

#include "Result.h"

#include <QString>
#include <QStringList>

namespace world {

/// What a person asked ./run for. Paths are absolute.
struct RunOptions
{
    QString answer; ///< help or version, to be printed instead of running anything, unless it is empty
    QString controller; ///< the program of --radio
    bool checks = false; ///< looks at the machine's Bluetooth and runs nothing
    bool json = false; ///< what is found there
    QString adapter; ///< of the machine's, for the controller; empty is its own choice
    bool isGuest = false; ///< all of it in the emulated machine
    bool isPrivate = false; ///< the adapter's name and visibility stay as they are
    bool switchesOn = false; ///< the radio, before the command
    bool machineBus = false; ///< the controller also speaks to the machine's own system bus
    QString scenario; ///< a name, or the path of a file; one that can be simulated
    QString state;
    QString log;
    QString host; ///< empty is this build's
    QStringList modules; ///< files of modules beside Bluetooth
    QStringList command; ///< never empty
    bool isTour = false;
    bool isLiveView = false; ///< the command is that of a person who gave none, on a terminal
    QStringList named; ///< every path that was named, for the view of /tmp
};

/// Reads the arguments of main(). An error of the kind Failure::Usage is the command line's.
[[nodiscard]] base::Result<RunOptions> readRunOptions(int count, char* const* arguments);

} // namespace world

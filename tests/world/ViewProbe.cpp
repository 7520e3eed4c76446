// view_probe CONTROLLER COMMAND [ARG...]: runs COMMAND in the private view, with its exit status; 69 when
// there is no view. With the first argument "--exchange NEXT", the controller is exchanged first.
#include "ChildProcess.h"
#include "PrivateFilesystem.h"

#include <QFile>

#include <cstdio>

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    if (arguments.value(0) == "--who") {
        const QString place = QFile::symLinkTarget("/proc/self/exe");
        std::printf("%s %d %s\n", argv[0], argc - 1, qPrintable(place));
        return 0;
    }
    QString next;
    if (arguments.value(0) == "--exchange") {
        next = arguments.value(1);
        arguments = arguments.mid(2);
    }
    world::PrivateFilesystem filesystem;
    const auto entered = filesystem.enter({ arguments.takeFirst(), {} }, argv);
    if (!entered) {
        std::fprintf(stderr, "%s\n", qPrintable(entered.error().text));
        return 69;
    }
    if (!next.isEmpty() && !filesystem.setController(next)) {
        return 70;
    }
    world::Command command;
    command.arguments = arguments;
    command.place = world::Command::Place::Foreground;
    world::ChildProcess process;
    return process.start(command) ? process.wait().value_or(1) : 127;
}

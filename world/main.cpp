#include "CommandLine.h"
#include "Descendants.h"
#include "EverydayOutput.h"
#include "Foreground.h"
#include "Terminal.h"
#include "World.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace {

constexpr int Unavailable = 69;

void say(const QString& text)
{
    std::fputs(qPrintable(QStringLiteral("bluetoothworld: %1\n").arg(text)), stderr);
}

void showOutput(const world::World& world)
{
    const QString output = world::withoutEverydayLines(world.output());
    if (!output.isEmpty()) {
        say(QStringLiteral("buses, host and controller said:"));
        std::fputs(qPrintable(output), stderr);
    }
}

/// Whether a status is that of a program which was told to end: by Ctrl-C, or because nobody reads on.
bool wasEnded(int status)
{
    const auto signals = { SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM };
    return std::find(signals.begin(), signals.end(), status - 128) != signals.end();
}

/// Whether this machine's radio is there, and why not, is told by its controller alone.
void showRadio(const world::World& world)
{
    const QStringList lines = world.output().split(QLatin1Char('\n'));
    for (const QString& line : lines.filter(QRegularExpression(QStringLiteral("^bluezradio: ")))) {
        std::fputs(qPrintable(line + QLatin1Char('\n')), stderr);
    }
}

/// As a shell says it: 127 for a command that is not there, 126 for one that cannot be run.
int commandFailed(const QString& command, int reason)
{
    say(reason == ENOENT
            ? QStringLiteral("%1: command not found").arg(command)
            : QStringLiteral("%1: %2").arg(command, QString::fromLocal8Bit(std::strerror(reason))));
    return reason == ENOENT ? 127 : 126;
}

int runCommand(const QStringList& arguments, const world::ForegroundSignals& signalsOfOurs)
{
    world::Command command;
    command.arguments = arguments;
    command.place = world::Command::Place::Foreground;
    const world::Terminal terminal;
    world::ChildProcess process;
    const int reason = process.start(command);
    return reason == 0 ? signalsOfOurs.supervise(process) : commandFailed(arguments.first(), reason);
}

int runWorld(const world::CommandLine& line, const world::PrivateFilesystem& filesystem)
{
    const world::ForegroundSignals signalsOfOurs;
    const world::FileDescriptor log(line.log.isEmpty() ? -1
                                                       : open(QFile::encodeName(line.log).constData(),
                                                              O_WRONLY | O_APPEND | O_TRUNC | O_CLOEXEC));
    world::WorldOptions options;
    options.host = line.host;
    options.companion = world::World::binFolder() + QStringLiteral("/sync_mobile_app");
    options.state = line.state;
    options.output = log.get();
    options.cancel = signalsOfOurs.descriptor();

    world::World world(filesystem);
    const QString problem = world.start(options);
    if (!problem.isEmpty()) {
        const int number = signalsOfOurs.taken();
        world.stop();
        say(problem);
        if (number != 0) {
            return 128 + number;
        }
        showOutput(world);
        return Unavailable;
    }
    const int status = runCommand(line.command, signalsOfOurs);
    const bool hostRan = world.hostRuns();
    world.stop();
    world::reapChildren();
    if (!hostRan) {
        say(QStringLiteral("the host ended by itself while %1 ran").arg(line.command.first()));
    }
    if (!hostRan || (line.isTour && status != 0 && !wasEnded(status))) {
        showOutput(world);
    } else if (line.machineBus) {
        showRadio(world);
    }
    return status;
}

void exportChoices(const world::CommandLine& line)
{
    if (!line.scenario.isEmpty()) {
        qputenv("BLUESIM_SCENARIO", QFile::encodeName(line.scenario));
    }
    if (line.machineBus) {
        // The controller finds the machine's bus here, now that the usual variable names the private one.
        const QByteArray given = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        qputenv("BLUEZ_SYSTEM_BUS_ADDRESS",
                given.isEmpty() ? QByteArray("unix:path=/run/dbus/system_bus_socket") : given);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const world::Parsed parsed = world::parseCommandLine(argc, argv);
    if (!parsed.commandLine) {
        std::fputs(qPrintable(parsed.answer.text), parsed.answer.status == 0 ? stdout : stderr);
        return parsed.answer.status;
    }
    const world::CommandLine& line = *parsed.commandLine;
    world::PrivateFilesystem filesystem;
    const QString problem = filesystem.enter({ line.controller, line.named }, argv);
    if (!problem.isEmpty()) {
        say(problem);
        return Unavailable;
    }
    const QCoreApplication application(argc, argv);
    exportChoices(line);
    return runWorld(line, filesystem);
}

#include "ActionWatch.h"
#include "CommandLine.h"
#include "Descendants.h"
#include "EverydayOutput.h"
#include "Foreground.h"
#include "NoticeLog.h"
#include "NoticeOutlet.h"
#include "Terminal.h"
#include "World.h"

#include <QCoreApplication>
#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
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

/// As a shell says it: 127 for a command that is not there, 126 for one that cannot be run.
int commandFailed(const QString& command, int reason)
{
    say(reason == ENOENT
            ? QStringLiteral("%1: command not found").arg(command)
            : QStringLiteral("%1: %2").arg(command, QString::fromLocal8Bit(std::strerror(reason))));
    return reason == ENOENT ? 127 : 126;
}

/// What takes the output of buses, host and controller, where that was named. A FIFO that nobody reads holds
/// up nobody.
int openLog(const QByteArray& path)
{
    struct stat file = {};
    const bool isFifo = stat(path.constData(), &file) == 0 && S_ISFIFO(file.st_mode);
    const int access = isFifo ? O_RDWR | O_NONBLOCK : O_WRONLY;
    return open(path.constData(), access | O_APPEND | O_TRUNC | O_CLOEXEC | O_NOCTTY);
}

/// Runs the command, and tells meanwhile what a person should know.
int runCommand(const world::CommandLine& line, const world::World& world,
               const world::ForegroundSignals& signalsOfOurs, world::NoticeLog& log,
               world::NoticeOutlet& outlet)
{
    world::ActionWatch actions(world.sessionBusAddress(), world.systemBusAddress(), outlet);
    world::Command command;
    command.arguments = line.command;
    command.place = world::Command::Place::Foreground;
    world::Pipe liveView;
    if (line.isLiveView) {
        liveView = world::Pipe::create(O_NONBLOCK);
        command.inherited = liveView.reading.get();
        command.arguments << QStringLiteral("--notices") << QString::number(command.inherited);
        outlet.redirect(liveView.writing.get());
    }
    int status = 0;
    {
        const world::Terminal terminal;
        world::ChildProcess process;
        const int reason = process.start(command);
        world::Supervision how;
        log.attend(); // what was said before
        how.attendants = { &log, &actions, &outlet };
        status =
            reason == 0 ? signalsOfOurs.supervise(process, how) : commandFailed(line.command.first(), reason);
    }
    outlet.redirect(STDERR_FILENO);
    std::array<char, 4096> unread{};
    ssize_t got = 0;
    while (liveView.reading.isOpen()
           && (got = read(liveView.reading.get(), unread.data(), unread.size())) > 0) {
        std::fwrite(unread.data(), 1, static_cast<std::size_t>(got), stderr);
    }
    actions.finish();
    return status;
}

int runWorld(const world::CommandLine& line, const world::PrivateFilesystem& filesystem)
{
    const world::ForegroundSignals signalsOfOurs;
    const world::FileDescriptor file(line.log.isEmpty() ? -1 : openLog(QFile::encodeName(line.log)));
    world::WorldOptions options;
    options.host = line.host;
    options.companion = world::World::binFolder() + QStringLiteral("/sync_mobile_app");
    options.state = line.state;
    options.output = file.get();
    options.cancel = signalsOfOurs.descriptor();

    world::World world(filesystem);
    const QString problem = world.start(options);
    std::signal(SIGPIPE, SIG_IGN); // who does not want to hear of it is not told
    world::NoticeOutlet outlet(STDERR_FILENO);
    world::NoticeLog log(world.outputDescriptor(), outlet);
    if (!problem.isEmpty()) {
        const int number = signalsOfOurs.taken();
        world.stop();
        say(problem);
        if (number != 0) {
            return 128 + number;
        }
        line.log.isEmpty() ? showOutput(world) : log.attend();
        return Unavailable;
    }
    const int status = runCommand(line, world, signalsOfOurs, log, outlet);
    const bool hostRan = world.hostRuns();
    world.stop();
    world::reapChildren();
    log.attend();
    outlet.finish();
    if (!hostRan) {
        say(QStringLiteral("the host ended by itself while %1 ran").arg(line.command.first()));
    }
    if (!hostRan || (line.isTour && status != 0 && !wasEnded(status))) {
        showOutput(world);
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

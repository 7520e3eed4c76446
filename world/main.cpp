#include "ActionMonitor.h"
#include "Descendants.h"
#include "EverydayOutput.h"
#include "Foreground.h"
#include "Guest.h"
#include "HostControl.h"
#include "NoticeLog.h"
#include "NoticeOutlet.h"
#include "RunOptions.h"
#include "Terminal.h"
#include "World.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>

namespace {

constexpr int Usage = 2;
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
int commandFailed(const QString& command, const base::Error& error)
{
    const bool isMissing = error.kind == base::Failure::NoSuchItem;
    say(isMissing ? QStringLiteral("%1: command not found").arg(command)
                  : QStringLiteral("%1: %2").arg(command, error.text));
    return isMissing ? 127 : 126;
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

/// For --on. The live view shows how it comes on; every other command finds it on.
/// @return as a shell counts it.
int switchOn(bool isLiveView, const world::ForegroundSignals& signalsOfOurs)
{
    QString line = QStringLiteral("exec itemctl set enabled true >/dev/null");
    if (!isLiveView) {
        line += QStringLiteral(" --until status=On --timeout 30");
    }
    world::Command command;
    command.arguments = QStringList{ QStringLiteral("sh"), QStringLiteral("-c"), line };
    command.place = world::Command::Place::Foreground;
    world::ChildProcess process;
    const int status = process.start(command) ? signalsOfOurs.supervise(process) : 127;
    if (status != 0 && !wasEnded(status)) {
        say(QStringLiteral("--on: the radio does not go on"));
        return Unavailable;
    }
    return status;
}

/// @return as a shell counts it.
int supervise(const world::Command& command, world::World& world,
              const world::ForegroundSignals& signalsOfOurs)
{
    world::ChildProcess process;
    const auto started = process.start(command);
    // Its end has two listeners, and each needs a descriptor of its own.
    const world::FileDescriptor ended(fcntl(process.descriptor(), F_DUPFD_CLOEXEC, 0));
    world.setCancel(ended.get());
    return started ? signalsOfOurs.supervise(process)
                   : commandFailed(command.arguments.first(), started.error());
}

/// Runs the command, and tells meanwhile what a person should know.
int runCommand(const world::RunOptions& options, world::World& world,
               const world::ForegroundSignals& signalsOfOurs, world::NoticeLog& log,
               world::NoticeOutlet& outlet)
{
    world::ActionMonitor actions(world.sessionBusAddress(), world.systemBusAddress(), outlet);
    world::Command command;
    command.arguments = options.command;
    command.place = world::Command::Place::Foreground;
    world::Pipe liveView;
    if (options.isLiveView) {
        liveView = world::Pipe::create(O_NONBLOCK);
        const int notices = liveView.reading.get();
        command.inherited = { notices };
        command.arguments << QStringLiteral("--notices") << QString::number(notices);
        outlet.redirect(liveView.writing.get());
    }
    int status = 0;
    {
        const world::Terminal terminal;
        const world::HostControl control(world);
        log.read(); // what was said before
        status = options.switchesOn ? switchOn(options.isLiveView, signalsOfOurs) : 0;
        if (status == 0) {
            status = supervise(command, world, signalsOfOurs);
        }
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

int runWorld(const world::RunOptions& options, const world::PrivateFilesystem& filesystem)
{
    const world::ForegroundSignals signalsOfOurs;
    const world::FileDescriptor file(options.log.isEmpty() ? -1 : openLog(QFile::encodeName(options.log)));
    world::WorldOptions parts;
    parts.host = options.host;
    parts.modules = options.modules;
    parts.companion = world::World::binFolder() + QStringLiteral("/sync_mobile_app");
    parts.state = options.state;
    parts.output = file.get();
    parts.cancel = signalsOfOurs.descriptor();

    world::World world(filesystem);
    const auto started = world.start(parts);
    std::signal(SIGPIPE, SIG_IGN); // who does not want to hear of it is not told
    world::NoticeOutlet outlet(STDERR_FILENO);
    world::NoticeLog log(world.outputDescriptor(), outlet);
    if (!started) {
        const int number = signalsOfOurs.taken();
        world.stop();
        say(started.error().text);
        if (number != 0) {
            return 128 + number;
        }
        options.log.isEmpty() ? showOutput(world) : log.read();
        return Unavailable;
    }
    const int status = runCommand(options, world, signalsOfOurs, log, outlet);
    const bool hostIsMissing = world.hostIsMissing();
    world.stop();
    world::reapChildren();
    log.read();
    outlet.finish();
    if (hostIsMissing) {
        say(QStringLiteral("the host ended by itself while %1 ran").arg(options.command.first()));
    }
    if (hostIsMissing || (options.isTour && status != 0 && !wasEnded(status))) {
        showOutput(world);
    }
    return status;
}

int runMachine(const world::RunOptions& options, int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const auto status = world::runInGuest(options);
    if (!status) {
        say(status.error().text);
    }
    return status.value_or(Unavailable);
}

/// zsh takes the variable in the place of its own folders, which it alone knows.
void completeInZsh()
{
    QProcess zsh;
    zsh.start(QStringLiteral("zsh"), { QStringLiteral("-fc"), QStringLiteral("print -r -- $FPATH") });
    if (zsh.waitForFinished() && zsh.exitCode() == 0) {
        const QString ours =
            QDir::cleanPath(world::World::binFolder() + QStringLiteral("/../share/zsh/site-functions"));
        qputenv("FPATH", QFile::encodeName(ours) + ':' + zsh.readAllStandardOutput().trimmed());
    }
}

void exportChoices(const world::RunOptions& options)
{
    if (QFileInfo(options.command.value(0)).fileName() == QLatin1String("zsh")) {
        completeInZsh();
    }
    if (!options.scenario.isEmpty()) {
        qputenv("BLUESIM_SCENARIO", QFile::encodeName(options.scenario));
    }
    if (!options.adapter.isEmpty()) {
        qputenv("BLUEZ_ADAPTER", options.adapter.toLocal8Bit());
    }
    if (options.isPrivate) {
        qputenv("BLUEZ_PRIVATE", "1");
    }
    if (options.machineBus) {
        // The controller finds the machine's bus here, now that the usual variable names the private one.
        const QByteArray given = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        qputenv("BLUEZ_SYSTEM_BUS_ADDRESS",
                given.isEmpty() ? QByteArray("unix:path=/run/dbus/system_bus_socket") : given);
    }
}

/// Hands over to the radio's own program, on the machine's bus.
int checkMachine(const world::RunOptions& options)
{
    exportChoices(options);
    const QByteArray program = QFile::encodeName(options.controller);
    const std::array words{ program.constData(), "--check", options.json ? "--json" : nullptr,
                            static_cast<const char*>(nullptr) };
    execv(words.front(), const_cast<char* const*>(words.data()));
    say(QStringLiteral("%1 cannot be started: %2").arg(options.controller, qt_error_string()));
    return Unavailable;
}

} // namespace

int main(int argc, char** argv)
{
    const auto options = world::readRunOptions(argc, argv);
    if (!options) {
        say(options.error().text);
        return options.error().kind == base::Failure::Usage ? Usage : Unavailable;
    }
    if (!options->answer.isEmpty()) {
        std::fputs(qPrintable(options->answer), stdout);
        return 0;
    }
    if (options->checks) {
        return checkMachine(*options);
    }
    if (options->isGuest) {
        return runMachine(*options, argc, argv);
    }
    world::PrivateFilesystem filesystem;
    const auto entered = filesystem.enter({ options->controller, options->named }, argv);
    if (!entered) {
        say(entered.error().text);
        return Unavailable;
    }
    const QCoreApplication application(argc, argv);
    exportChoices(*options);
    return runWorld(*options, filesystem);
}

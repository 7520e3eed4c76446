#include "Guest.h"

#include "Descendants.h"
#include "Foreground.h"
#include "GuestConsole.h"
#include "GuestPorts.h"
#include "RuntimeFolder.h"
#include "World.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <unistd.h>

#include <csignal>
#include <optional>
#include <utility>

namespace world {

namespace {

/// One of the machine's scripts, which a build has and an installed tree has not: empty there.
QString guestScript(const QString& name)
{
    return QFileInfo(World::binFolder() + QStringLiteral("/../share/bluetoothworld/guest/") + name)
        .canonicalFilePath();
}

/// The words of env(1) that start the command there: our environment, but for what leads to our buses and
/// folders, then the world's program.
QByteArray environmentAndCommand(const RunOptions& options)
{
    QByteArray words;
    const auto add = [&words](const QByteArray& word) {
        words += word + '\0';
    };
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const QByteArray entry(*variable);
        if (!entry.startsWith("DBUS_") && !entry.startsWith("XDG_RUNTIME_DIR=")
            && !entry.startsWith("TMPDIR=")) {
            add(entry);
        }
    }
    QStringList command{ World::binFolder() + QStringLiteral("/bluetoothworld"), QStringLiteral("--radio"),
                         QStringLiteral("bluez") };
    if (!options.adapter.isEmpty()) {
        command << QStringLiteral("--adapter") << options.adapter;
    }
    if (options.switchesOn) {
        command << QStringLiteral("--on");
    }
    if (options.isPrivate) {
        command << QStringLiteral("--private");
    }
    for (const QString& module : options.modules) {
        command << QStringLiteral("--module") << module;
    }
    if (options.isTour) {
        command << QStringLiteral("tour");
    } else if (!options.isLiveView) {
        command << QStringLiteral("--") << options.command;
    }
    for (const QString& word : command) {
        add(QFile::encodeName(word));
    }
    return words;
}

bool write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

base::Result<> prepareJob(const RuntimeFolder& job, const RunOptions& options, const GuestPorts& ports)
{
    const bool done = write(job.filePath(QStringLiteral("command")), environmentAndCommand(options))
        && write(job.filePath(QStringLiteral("streams")), ports.devices().join('\n').toLocal8Bit() + '\n')
        && write(job.filePath(QStringLiteral("folders")),
                 QFile::encodeName(
                     QStringList{ QDir::currentPath(), job.path(), World::binFolder(), {} }.join(
                         QLatin1Char('\n'))))
        && QFile::link(guestScript(QStringLiteral("session")), job.filePath(QStringLiteral("run")));
    if (!done) {
        return base::error(QStringLiteral("%1 cannot be filled").arg(job.path()));
    }
    return {};
}

/// What the machine said of its end, or why it said nothing.
base::Result<int> statusOf(const RuntimeFolder& job, int machineStatus)
{
    constexpr int Impossible = 77; // said by the machine's own script
    bool isNumber = false;
    const int status = read(job.filePath(QStringLiteral("status"))).trimmed().toInt(&isNumber);
    if (isNumber) {
        return status;
    }
    if (machineStatus == Impossible) {
        return base::error(QStringLiteral("--radio guest: there is no emulated machine here, see above"));
    }
    return base::error(QStringLiteral("--radio guest: the emulated machine ended by itself; it said:\n%1%2")
                           .arg(QString::fromLocal8Bit(read(job.filePath(QStringLiteral("console")))),
                                QString::fromLocal8Bit(read(job.filePath(QStringLiteral("machine"))))));
}

/// @return the signal that ended us before the machine ended by itself; 0 when there was none.
int awaitEnd(const ChildProcess& machine, ChildProcess& output, const ForegroundSignals& signalsOfOurs)
{
    QEventLoop loop;
    int number = 0;
    const auto endWith = [&loop, &number](int signal) {
        number = signal;
        loop.quit();
    };
    const QSocketNotifier ended(machine.descriptor(), QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    const QSocketNotifier signalled(signalsOfOurs.descriptor(), QSocketNotifier::Read);
    QObject::connect(&signalled, &QSocketNotifier::activated, &loop, [&] { endWith(signalsOfOurs.taken()); });
    QSocketNotifier unread(output.descriptor(), QSocketNotifier::Read);
    QObject::connect(&unread, &QSocketNotifier::activated, &loop, [&] {
        unread.setEnabled(false);
        if (output.wait() == 128 + SIGPIPE) {
            endWith(SIGPIPE);
        }
    });
    loop.exec();
    return number;
}

} // namespace

base::Result<int> runInGuest(const RunOptions& options)
{
    const QString script = guestScript(QStringLiteral("machine"));
    if (script.isEmpty()) {
        return base::error(QStringLiteral(
            "--radio guest: the emulated machine is not installed; ./run of a checkout has it"));
    }
    const ForegroundSignals signalsOfOurs;
    RuntimeFolder job;
    GuestPorts ports;
    if (auto ready = job.create().and_then([&] { return prepareJob(job, options, ports); }); !ready) {
        return tl::unexpected(ready.error());
    }
    adoptOrphans();
    Command command;
    command.arguments = QStringList{ script,
                                     job.path(),
                                     QStringLiteral("-accel"),
                                     QStringLiteral("tcg"),
                                     QStringLiteral("-device"),
                                     QStringLiteral("virtio-serial-pci") }
        + ports.arguments();
    command.inherited = ports.machineEnds();
    command.deathSignal = SIGKILL; // there is nothing to save
    ChildProcess machine;
    if (auto started = machine.start(command); !started) {
        return base::error(
            QStringLiteral("--radio guest: %1: %2").arg(command.arguments.first(), started.error().text));
    }
    FileDescriptor control = ports.connect();
    std::optional<GuestConsole> console;
    if (GuestPorts::isConsole()) {
        console.emplace(std::move(control));
    }
    if (const int number = awaitEnd(machine, ports.output(), signalsOfOurs); number != 0) {
        endDescendants({}, ChildProcess::Grace);
        return 128 + number;
    }
    ports.finish();
    return statusOf(job, machine.wait().value_or(1));
}

} // namespace world

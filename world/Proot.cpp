#include "Proot.h"

#include "ChildProcess.h"
#include "Foreground.h"
#include "KeptPaths.h"
#include "SystemCallFilter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>

namespace world {

namespace {

constexpr const char* FolderVariable = "BLUETOOTHWORLD_FOLDER";

/// proot resolves the host's side of a binding once, at its start. Through this script the program can be
/// exchanged while the world runs; "exec -a" keeps the argument vector as it is.
QString writeTrampoline(const Layout& layout)
{
    QString path = layout.folder + QStringLiteral("/trampoline");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return {};
    }
    file.write("#!/bin/bash -p\nexec -a \"$0\" '" + QFile::encodeName(layout.controllerLink())
               + "' \"$@\"\n");
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

QStringList binding(const QString& from, const QString& to)
{
    return { QStringLiteral("-b"), from + QLatin1Char(':') + to };
}

QStringList prootWith(const Layout& layout)
{
    QStringList arguments{ QStringLiteral("proot"), QStringLiteral("-w"), layout.current };
    // "!" is not where a link there leads, which may be the very program that the trampoline starts.
    arguments << binding(layout.temporary(), QStringLiteral("/tmp"))
              << binding(writeTrampoline(layout), QStringLiteral("/usr/bin/blue_controller_zq4!"))
              << binding(layout.firmware() + QStringLiteral("/FCC.bts"),
                         QStringLiteral("/lib/firmware/FCC.bts"));
    for (const QString& path : layout.kept) {
        arguments << binding(path, path);
    }
    return arguments;
}

/// Whether proot shows the view on this machine, by letting it show it to a small program.
base::Result<> tryOut(const QStringList& proot, const QString& outputPath)
{
    const FileDescriptor output(
        open(QFile::encodeName(outputPath).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    Command command;
    command.arguments = proot;
    command.arguments << QStringLiteral("test") << QStringLiteral("-r")
                      << QStringLiteral("/lib/firmware/FCC.bts");
    command.output = output.get();
    ChildProcess trial;
    if (auto started = trial.start(command); !started) {
        return started;
    }
    const int status = trial.wait().value_or(1);
    if (status == 0) {
        return {};
    }
    QFile said(outputPath);
    const QString text =
        said.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(said.readLine()).simplified() : QString();
    return base::error(text.isEmpty() ? QStringLiteral("exit status %1").arg(status) : text);
}

/// proot's own folder of empty places, which it cannot remove when it is killed.
void removeGlue(pid_t proot)
{
    QDir tmp(QStringLiteral("/tmp"));
    const QStringList left = tmp.entryList({ QStringLiteral("proot-%1-*").arg(proot) }, QDir::Dirs);
    for (const QString& name : left) {
        tmp.rmdir(name);
    }
}

} // namespace

base::Result<int> runUnderProot(const Layout& layout, char* const* arguments)
{
    if (!QDir().mkpath(layout.temporary())
        || chmod(QFile::encodeName(layout.temporary()).constData(), 01777) != 0) {
        return base::error(QStringLiteral("%1 cannot be made").arg(layout.temporary()));
    }
    for (const QString& path : layout.kept) {
        const QString place = layout.temporary() + path.mid(QStringLiteral("/tmp").size());
        if (!makeMountPoint(place, QFileInfo(path).isDir())) {
            return base::error(QStringLiteral("%1 cannot be made").arg(place));
        }
    }
    // Without this it makes its mount points in the machine's own folders, where it may.
    qputenv("PROOT_DONT_POLLUTE_ROOTFS", "1");
    const QStringList proot = prootWith(layout);
    auto works = tryOut(proot, layout.folder + QStringLiteral("/proot.log"));
    if (!works) {
        qputenv("PROOT_NO_SECCOMP", "1"); // its fast path does not work on every kernel
        works = tryOut(proot, layout.folder + QStringLiteral("/proot.log"));
    }
    if (!works) {
        return tl::unexpected(works.error());
    }
    Command command;
    command.place = Command::Place::Foreground;
    command.deathSignal = SIGQUIT; // the one by which it ends its children, too; it ignores SIGTERM
    command.arguments = proot;
    command.arguments << QStringLiteral("-v") << QStringLiteral("-1") // no remarks about signals
                      << layout.program;
    for (char* const* argument = arguments + 1; *argument != nullptr; ++argument) {
        command.arguments << QString::fromLocal8Bit(*argument);
    }
    qputenv(FolderVariable, QFile::encodeName(layout.folder));
    int count = 1;
    std::array<char*, 2> name{ arguments[0], nullptr };
    const QCoreApplication application(count, name.data()); // for the event loop below
    ForegroundSignals signalsOfOurs;
    ChildProcess run;
    if (const auto started = run.start(command); !started) {
        return tl::unexpected(started.error());
    }
    // proot lets no signal through: they go to its child, which is this program once more.
    const int status = signalsOfOurs.supervise(run, SignalTarget::Child);
    removeGlue(run.pid());
    return status;
}

QString takeFolderFromProot()
{
    QString folder = QFile::decodeName(qgetenv(FolderVariable));
    if (!folder.isEmpty()) {
        qunsetenv(FolderVariable);
        qunsetenv("PROOT_DONT_POLLUTE_ROOTFS");
        qunsetenv("PROOT_NO_SECCOMP");
        refuseUntranslatedCalls();
    }
    return folder;
}

} // namespace world

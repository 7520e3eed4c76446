#include "PrivateFilesystem.h"

#include "ChildProcess.h"
#include "Descendants.h"
#include "KeptPaths.h"
#include "MountNamespace.h"
#include "Proot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace world {

namespace {

base::Result<> writeBehind(const Layout& layout)
{
    QFile firmware(layout.firmware() + QStringLiteral("/FCC.bts"));
    const bool done = QDir().mkpath(layout.binaries()) && QDir().mkpath(layout.firmware())
        && firmware.open(QIODevice::WriteOnly) && firmware.write("firmware of a simulated radio\n") > 0
        && QFile::link(layout.controllerLink(), layout.binaries() + QStringLiteral("/blue_controller_zq4"));
    if (!done) {
        return base::error(QStringLiteral("%1 cannot be filled").arg(layout.folder));
    }
    return {};
}

bool allowed(const char* mechanism)
{
    const QByteArray only = qgetenv("BLUETOOTHWORLD_FILESYSTEM");
    return only.isEmpty() || only == mechanism;
}

/// A temporary folder of the caller's that is hidden now would fail every program that relies on it.
void forgetHiddenTmpdir()
{
    const QString folder = qEnvironmentVariable("TMPDIR");
    if (folder.startsWith(QStringLiteral("/tmp/")) && !QDir(folder).exists()) {
        qunsetenv("TMPDIR");
    }
}

} // namespace

base::Result<> PrivateFilesystem::enter(const View& view, char* const* arguments)
{
    const QString folderFromProot = takeFolderFromProot();
    if (!folderFromProot.isEmpty()) {
        m_folder.adopt(folderFromProot);
        m_mechanism = Mechanism::Proot;
        forgetHiddenTmpdir();
        return {};
    }
    if (auto created = m_folder.create(); !created) {
        return created;
    }
    Layout layout;
    layout.folder = m_folder.path();
    layout.current = QDir::currentPath(); // empty when it was removed
    layout.program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    layout.kept = pathsBelowTmp(view.kept + foldersOfThisProgram() + QStringList{ layout.current });
    auto done = writeBehind(layout).and_then([&] { return setController(view.controller); });
    if (!done) {
        return done;
    }
    const auto disallowed = base::error(QStringLiteral("not allowed by BLUETOOTHWORLD_FILESYSTEM"));
    const base::Result<> inNamespace =
        allowed("namespace") ? enterMountNamespace(layout) : base::Result<>(disallowed);
    if (inNamespace) {
        forgetHiddenTmpdir();
        return {};
    }
    adoptOrphans();
    const base::Result<int> underProot =
        allowed("proot") ? runUnderProot(layout, arguments) : base::Result<int>(disallowed);
    if (underProot) {
        endDescendants({}, ChildProcess::Grace);
        reapChildren();
        m_folder.remove();
        std::fflush(nullptr);
        _exit(*underProot);
    }
    return base::error(QStringLiteral("no private view of /tmp and /usr/bin: namespaces: %1; proot: %2")
                           .arg(inNamespace.error().text, underProot.error().text));
}

base::Result<> PrivateFilesystem::setController(const QString& program) const
{
    // In one step, so that nobody ever finds nothing there.
    const QString path = m_folder.filePath(QStringLiteral("controller"));
    const QByteArray link = QFile::encodeName(path);
    const QByteArray fresh = link + ".new";
    const QByteArray target = QFile::encodeName(QDir::current().absoluteFilePath(program));
    if (symlink(target.constData(), fresh.constData()) != 0
        || rename(fresh.constData(), link.constData()) != 0) {
        return base::error(QStringLiteral("%1 cannot be made").arg(path));
    }
    return {};
}

} // namespace world

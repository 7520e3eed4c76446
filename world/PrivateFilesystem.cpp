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

QString writeBehind(const Layout& layout)
{
    QFile firmware(layout.firmware() + QStringLiteral("/FCC.bts"));
    const bool done = QDir().mkpath(layout.binaries()) && QDir().mkpath(layout.firmware())
        && firmware.open(QIODevice::WriteOnly) && firmware.write("firmware of a simulated radio\n") > 0
        && QFile::link(layout.controllerLink(), layout.binaries() + QStringLiteral("/blue_controller_zq4"));
    return done ? QString() : QStringLiteral("%1 cannot be filled").arg(layout.folder);
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

QString PrivateFilesystem::enter(const View& view, char* const* arguments)
{
    const QString folderFromProot = takeFolderFromProot();
    if (!folderFromProot.isEmpty()) {
        m_folder.adopt(folderFromProot);
        m_mechanism = Mechanism::Proot;
        forgetHiddenTmpdir();
        return {};
    }
    QString problem = m_folder.create();
    if (!problem.isEmpty()) {
        return problem;
    }
    Layout layout;
    layout.folder = m_folder.path();
    layout.current = currentFolder();
    layout.program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    layout.kept = pathsBelowTmp(view.kept + foldersOfThisProgram() + QStringList{ layout.current });
    problem = writeBehind(layout);
    if (problem.isEmpty() && !setController(view.controller)) {
        problem = QStringLiteral("%1 cannot be made").arg(layout.controllerLink());
    }
    if (!problem.isEmpty()) {
        return problem;
    }
    const QString disallowed = QStringLiteral("not allowed by BLUETOOTHWORLD_FILESYSTEM");
    const QString first = allowed("namespace") ? enterMountNamespace(layout) : disallowed;
    if (first.isEmpty()) {
        forgetHiddenTmpdir();
        return {};
    }
    int status = 0;
    adoptOrphans();
    const QString second = allowed("proot") ? runUnderProot(layout, arguments, &status) : disallowed;
    if (second.isEmpty()) {
        endDescendants({}, ChildProcess::Grace);
        reapChildren();
        m_folder.remove();
        std::fflush(nullptr);
        _exit(status);
    }
    return QStringLiteral("no private view of /tmp and /usr/bin: namespaces: %1; proot: %2")
        .arg(first, second);
}

bool PrivateFilesystem::setController(const QString& program) const
{
    // In one step, so that nobody ever finds nothing there.
    const QByteArray link = QFile::encodeName(m_folder.filePath(QStringLiteral("controller")));
    const QByteArray fresh = link + ".new";
    const QByteArray target = QFile::encodeName(QDir::current().absoluteFilePath(program));
    return symlink(target.constData(), fresh.constData()) == 0
        && rename(fresh.constData(), link.constData()) == 0;
}

} // namespace world

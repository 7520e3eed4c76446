#pragma once

#include "RuntimeFolder.h"

#include <QString>
#include <QStringList>

namespace world {

/// How the private view comes about.
enum class Mechanism {
    Namespace, ///< a mount namespace of the process
    Proot ///< the process runs again under proot, which rewrites its paths; where namespaces are forbidden
};

/// What is to be seen in the private view.
struct View
{
    QString controller; ///< the program that stands at /usr/bin/blue_controller_zq4
    QStringList
        kept; ///< what below /tmp stays visible at its own path, besides the current and our own folder
};

/// The calling process's private view of the file system, and that of its children: /tmp is empty and its
/// own, /usr/bin/blue_controller_zq4 is a program of choice, /lib/firmware/FCC.bts exists. Everything else is
/// the machine's, and nothing of the machine is changed.
class PrivateFilesystem
{
public:
    /// Enters the view. It comes first in main(): the process must not have threads yet.
    ///
    /// Namespaces are tried first, then proot; $BLUETOOTHWORLD_FILESYSTEM, "namespace" or "proot", allows one
    /// alone. With proot this call does not return in the process that made it: main() runs once more, from
    /// its beginning, in a child under proot, and this process ends with the child's exit status.
    ///
    /// @param arguments of main(), ending with a null pointer.
    /// The error says what kept each mechanism from working, in one line.
    [[nodiscard]] base::Result<> enter(const View& view, char* const* arguments);

    /// Puts another program at /usr/bin/blue_controller_zq4; whoever runs already is not touched.
    [[nodiscard]] base::Result<> setController(const QString& program) const;

    [[nodiscard]] Mechanism mechanism() const { return m_mechanism; }
    /// The folder behind the view, 0700, removed with this object.
    [[nodiscard]] const RuntimeFolder& folder() const { return m_folder; }

private:
    RuntimeFolder m_folder;
    Mechanism m_mechanism = Mechanism::Namespace;
};

/// Where the view's parts are; shared by the mechanisms.
struct Layout
{
    QString folder; ///< the runtime folder
    QStringList kept; ///< from pathsBelowTmp()
    QString current; ///< the current folder
    QString program; ///< this program's file; in a chroot, a new mount namespace makes its path unreachable

    [[nodiscard]] QString controllerLink() const { return folder + QStringLiteral("/controller"); }
    [[nodiscard]] QString binaries() const { return folder + QStringLiteral("/overlay/bin"); }
    [[nodiscard]] QString firmware() const { return folder + QStringLiteral("/overlay/lib/firmware"); }
    [[nodiscard]] QString temporary() const { return folder + QStringLiteral("/tmp"); }
};

} // namespace world

#include "MountNamespace.h"

#include "KeptPaths.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace world {

namespace {

tl::unexpected<base::Error> failed(const QString& step)
{
    return base::error(QStringLiteral("%1: %2").arg(step, QString::fromLocal8Bit(std::strerror(errno))));
}

bool writeProc(const char* path, const QByteArray& text)
{
    const FileDescriptor file(open(path, O_WRONLY | O_CLOEXEC));
    return file.isOpen()
        && write(file.get(), text.constData(), static_cast<size_t>(text.size())) == text.size();
}

/// The identity mapping: inside, the user keeps the number that `id` shows and a bus's EXTERNAL asks for.
base::Result<> unshareAsUser(uid_t user, gid_t group)
{
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return failed(QStringLiteral("user namespace"));
    }
    const QByteArray userMap = QByteArray::number(user) + ' ' + QByteArray::number(user) + " 1\n";
    const QByteArray groupMap = QByteArray::number(group) + ' ' + QByteArray::number(group) + " 1\n";
    if (!writeProc("/proc/self/setgroups", "deny\n") || !writeProc("/proc/self/uid_map", userMap)
        || !writeProc("/proc/self/gid_map", groupMap)) {
        return failed(QStringLiteral("user namespace's identity mapping"));
    }
    return {};
}

/// Root needs no user namespace, and loses none of its rights over other people's files that way.
base::Result<> unshareMounts()
{
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (user != 0 || unshare(CLONE_NEWNS) != 0) {
        if (auto done = unshareAsUser(user, group); !done) {
            return done;
        }
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return failed(QStringLiteral("private mounts"));
    }
    return {};
}

/// A read-only overlay: what is in "upper" appears in "folder", too.
base::Result<> overlay(const QString& upper, const QString& folder)
{
    const QByteArray target = QFile::encodeName(QFileInfo(folder).canonicalFilePath());
    const QByteArray options = "lowerdir=" + QFile::encodeName(upper) + ':' + target;
    if (mount("bluetoothworld", target.constData(), "overlay", MS_RDONLY, options.constData()) != 0) {
        return failed(QStringLiteral("overlay over %1").arg(folder));
    }
    return {};
}

base::Result<> overlayFirmware(const Layout& layout)
{
    const QString firmware = QStringLiteral("/lib/firmware");
    return QFileInfo::exists(firmware) ? overlay(layout.firmware(), firmware)
                                       : overlay(QFileInfo(layout.firmware()).path(), QStringLiteral("/lib"));
}

using KeptDescriptors = std::vector<std::pair<QString, FileDescriptor>>;

/// They have to be opened while they can be seen, but in the new namespace: the mounts of the old one cannot
/// be bound here.
KeptDescriptors openKept(const QStringList& paths)
{
    KeptDescriptors kept;
    for (const QString& path : paths) {
        FileDescriptor fd(open(QFile::encodeName(path).constData(), O_PATH | O_CLOEXEC));
        if (fd.isOpen()) {
            kept.emplace_back(path, std::move(fd));
        }
    }
    return kept;
}

base::Result<> bindBack(const KeptDescriptors& kept)
{
    for (const auto& [path, fd] : kept) {
        const QString source = QStringLiteral("/proc/self/fd/%1").arg(fd.get());
        if (!makeMountPoint(path, QFileInfo(source).isDir())
            || mount(QFile::encodeName(source).constData(), QFile::encodeName(path).constData(), nullptr,
                     MS_BIND | MS_REC, nullptr)
                != 0) {
            return failed(QStringLiteral("bind mount of %1").arg(path));
        }
    }
    return {};
}

base::Result<> replaceTmp(const Layout& layout)
{
    const KeptDescriptors kept = openKept(layout.kept);
    const QByteArray target = QFile::encodeName(QFileInfo(QStringLiteral("/tmp")).canonicalFilePath());
    if (mount("bluetoothworld", target.constData(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") != 0) {
        return failed(QStringLiteral("tmpfs at /tmp"));
    }
    return bindBack(kept);
}

/// The rights over the new namespace have done their service.
void dropCapabilities()
{
    __user_cap_header_struct header{};
    header.version = _LINUX_CAPABILITY_VERSION_3;
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
    syscall(SYS_capset, &header, none.data());
}

} // namespace

base::Result<> enterMountNamespace(const Layout& layout)
{
    base::Result<> done =
        unshareMounts()
            .and_then([&] { return overlay(layout.binaries(), QStringLiteral("/usr/bin")); })
            .and_then([&] { return overlayFirmware(layout); })
            // Last, because the other mechanism could no longer show what /tmp held.
            .and_then([&] { return replaceTmp(layout); });
    // The old folder is below the new /tmp now; its path leads to the same one again.
    if (chdir(QFile::encodeName(layout.current).constData()) != 0 && done) {
        done = failed(QStringLiteral("current folder %1").arg(layout.current));
    }
    if (geteuid() != 0) {
        dropCapabilities();
    }
    return done;
}

} // namespace world

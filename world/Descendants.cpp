#include "Descendants.h"

#include "FileDescriptor.h"

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <set>

namespace world {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct Process
{
    pid_t pid = 0;
    pid_t parent = 0;
    bool alive = false;
};

/// From /proc/PID/stat: "PID (NAME) STATE PARENT …"; a name may contain anything, so from its last bracket
/// on.
Process readProcess(const QString& pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray text = file.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 2) {
        return {};
    }
    const bool ended = fields[0] == "Z" || fields[0] == "X";
    return { pid.toInt(), fields[1].toInt(), !ended };
}

std::multimap<pid_t, Process> processesByParent()
{
    std::multimap<pid_t, Process> result;
    const QStringList entries =
        QDir(QStringLiteral("/proc")).entryList({ QStringLiteral("[0-9]*") }, QDir::Dirs);
    for (const QString& entry : entries) {
        const Process process = readProcess(entry);
        result.emplace(process.parent, process);
    }
    return result;
}

void signalAll(const std::vector<pid_t>& processes, int number)
{
    for (const pid_t pid : processes) {
        kill(pid, number);
    }
}

/// Waits until all of them have ended.
void waitForEnd(const std::vector<pid_t>& processes, Clock::time_point deadline)
{
    for (const pid_t pid : processes) {
        const FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd ended{ process.get(), POLLIN, 0 };
        if (process.isOpen()) {
            poll(&ended, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
        }
    }
}

} // namespace

void adoptOrphans()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

std::vector<pid_t> descendants(pid_t root, const std::vector<pid_t>& except)
{
    const auto byParent = processesByParent();
    std::vector<pid_t> tree{ root };
    std::vector<pid_t> alive;
    for (size_t i = 0; i < tree.size(); ++i) {
        const auto [first, last] = byParent.equal_range(tree[i]);
        for (auto it = first; it != last; ++it) {
            const Process& child = it->second;
            if (std::find(except.begin(), except.end(), child.pid) != except.end()) {
                continue;
            }
            tree.push_back(child.pid);
            if (child.alive) {
                alive.push_back(child.pid);
            }
        }
    }
    return alive;
}

void endDescendants(const std::vector<pid_t>& except, milliseconds grace)
{
    const auto deadline = Clock::now() + grace;
    std::set<pid_t> asked;
    for (;;) {
        const std::vector<pid_t> left = descendants(getpid(), except);
        if (left.empty()) {
            return;
        }
        if (Clock::now() >= deadline) {
            break;
        }
        std::vector<pid_t> fresh;
        std::copy_if(left.begin(), left.end(), std::back_inserter(fresh),
                     [&asked](pid_t pid) { return asked.insert(pid).second; });
        signalAll(fresh, SIGTERM);
        signalAll(fresh, SIGCONT); // a stopped process would not see it
        waitForEnd(left, deadline);
    }
    // Again and again, because a process may have started another one meanwhile; a process that the kernel
    // cannot end, on a dead disk for instance, must not hold us for ever.
    for (int attempt = 0; attempt < 10; ++attempt) {
        const std::vector<pid_t> left = descendants(getpid(), except);
        if (left.empty()) {
            return;
        }
        signalAll(left, SIGKILL);
        waitForEnd(left, Clock::now() + milliseconds(500));
    }
}

void reapChildren()
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) { }
}

} // namespace world

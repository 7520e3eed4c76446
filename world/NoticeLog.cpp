#include "NoticeLog.h"

#include "NoticeOutlet.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>

namespace world {

namespace {

constexpr int LongestLine = 8 * 1024; // bytes; more of it is not looked at
constexpr off_t LongestWay = 1 << 20; // who is further behind skips what is before

bool isSameFile(const struct stat& one, int descriptor)
{
    struct stat other = {};
    return fstat(descriptor, &other) == 0 && one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

} // namespace

NoticeLog::NoticeLog(int log, NoticeOutlet& outlet)
    : m_outlet(outlet)
{
    struct stat file = {};
    // What we show would come back to us, for ever.
    if (fstat(log, &file) != 0 || !S_ISREG(file.st_mode) || isSameFile(file, STDERR_FILENO)) {
        return;
    }
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(log);
    m_file = FileDescriptor(open(path.constData(), O_RDONLY | O_CLOEXEC));
    m_changes = FileDescriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (inotify_add_watch(m_changes.get(), path.constData(), IN_MODIFY) >= 0) {
        m_changed.emplace(m_changes.get(), QSocketNotifier::Read);
        QObject::connect(&*m_changed, &QSocketNotifier::activated, &*m_changed, [this] { follow(); });
    }
}

void NoticeLog::follow()
{
    std::array<char, 4096> events{};
    while (::read(m_changes.get(), events.data(), events.size()) > 0) { }
    read();
}

void NoticeLog::read()
{
    struct stat file = {};
    if (!m_file.isOpen() || fstat(m_file.get(), &file) != 0) {
        return;
    }
    if (file.st_size < m_offset) { // somebody emptied it
        m_offset = 0;
        m_line.clear();
    }
    if (file.st_size - m_offset > LongestWay) {
        m_offset = file.st_size - LongestWay;
        m_line.clear();
    }
    std::array<char, 1 << 16> part{};
    while (m_offset < file.st_size) {
        const ssize_t got = pread(m_file.get(), part.data(), part.size(), m_offset);
        if (got <= 0) {
            return;
        }
        m_offset += got;
        take(part.data(), part.data() + got);
    }
}

void NoticeLog::take(const char* data, const char* end)
{
    while (data < end) {
        const char* const line = std::find(data, end, '\n');
        const auto room = std::min<std::ptrdiff_t>(line - data, LongestLine - m_line.size());
        m_line.append(data, static_cast<int>(room));
        if (line == end) {
            return;
        }
        endLine();
        data = line + 1;
    }
}

void NoticeLog::endLine()
{
    constexpr int PrefixSize = 8;
    if (m_line.startsWith("notice: ")) {
        m_outlet.show(m_line.mid(PrefixSize));
    }
    m_line.clear();
}

} // namespace world

#pragma once

#include "FileDescriptor.h"

#include <QByteArray>
#include <QSocketNotifier>

#include <optional>

namespace world {

class NoticeOutlet;

/// The lines "notice: …" in the file that takes what buses, host and controller print, as they are written:
/// whoever writes them never waits for us. What is not a regular file is not followed, nor the file that
/// shows the notices.
class NoticeLog
{
public:
    /// @param log a descriptor of the file; the first read() begins at its beginning.
    NoticeLog(int log, NoticeOutlet& outlet);

    /// Shows what has come; happens by itself within an event loop.
    void read();

private:
    void follow();
    void take(const char* data, const char* end);
    void endLine();

    NoticeOutlet& m_outlet;
    FileDescriptor m_file;
    FileDescriptor m_changes; ///< of inotify
    std::optional<QSocketNotifier> m_changed;
    off_t m_offset = 0;
    QByteArray m_line; ///< the beginning of the last line
};

} // namespace world

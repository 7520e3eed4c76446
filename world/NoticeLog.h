#pragma once

#include "Attendant.h"
#include "FileDescriptor.h"

#include <QByteArray>

namespace world {

class NoticeOutlet;

/// The lines "notice: …" in the file that takes what buses, host and controller print, as they are written:
/// whoever writes them never waits for us. What is not a regular file is not followed, nor the file that
/// shows the notices.
class NoticeLog : public Attendant
{
public:
    /// @param log a descriptor of the file; the first attend() begins at its beginning.
    NoticeLog(int log, NoticeOutlet& outlet);

    [[nodiscard]] pollfd awaits() const override { return { m_changes.get(), POLLIN, 0 }; }
    void attend() override;

private:
    void read();
    void take(const char* data, const char* end);
    void endLine();

    NoticeOutlet& m_outlet;
    FileDescriptor m_file;
    FileDescriptor m_changes; ///< of inotify
    off_t m_offset = 0;
    QByteArray m_line; ///< the beginning of the last line
};

} // namespace world

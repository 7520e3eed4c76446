#pragma once

#include "FileDescriptor.h"
#include "Terminal.h"

#include <QByteArray>
#include <QSocketNotifier>

namespace world {

/// Our terminal as that of the emulated machine: its keys once there is somebody who reads them, its size,
/// and Ctrl-Z of what is no shell. The machine says over the control line "up" and "stopped"; it is told
/// "size ROWS COLUMNS" and "continue".
class GuestConsole
{
public:
    /// @param control our end of the control line
    explicit GuestConsole(FileDescriptor control);
    ~GuestConsole() = default;
    GuestConsole(const GuestConsole&) = delete;
    GuestConsole& operator=(const GuestConsole&) = delete;

private:
    void readLines();
    /// @param all those that send signals, too
    void takeKeys(bool all) const;
    void stop() const;
    void sendSize() const;
    void send(const QByteArray& line) const;

    FileDescriptor m_control;
    Terminal m_terminal; ///< as it is found, and left
    FileDescriptor m_resizes;
    QSocketNotifier m_lines;
    QSocketNotifier m_resized;
    QByteArray m_unfinished;
};

} // namespace world

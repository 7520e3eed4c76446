#pragma once

#include "ChildProcess.h"

#include <QSocketNotifier>
#include <QStringList>

#include <array>
#include <map>
#include <optional>
#include <vector>

namespace world {

/// The emulated machine's ports: the control line, and what takes the place of the three standard streams,
/// each with cat(1) on our side. That one is in our process group, and so is stopped and ended by the
/// terminal's keys as the command itself would be; the machine is not.
class GuestPorts
{
public:
    GuestPorts();

    /// Whether the machine's console is our terminal.
    [[nodiscard]] static bool isConsole();

    /// Paths in the machine, one for each stream.
    [[nodiscard]] QStringList devices() const { return m_devices; }
    /// For QEMU, which inherits the machine's ends.
    [[nodiscard]] QStringList arguments() const { return m_arguments; }
    [[nodiscard]] std::vector<int> machineEnds() const;

    /// Once the machine has its ends. @return our end of the control line
    [[nodiscard]] FileDescriptor connect();
    /// Ends by SIGPIPE when nobody reads our output any more.
    [[nodiscard]] ChildProcess& output() { return m_copies[1]; }
    /// Returns when all that the machine wrote has gone out.
    void finish();

private:
    /// Both ends of a line between us and a port.
    struct Line
    {
        FileDescriptor ours;
        FileDescriptor machines;
    };

    void addPort(const QString& kind, int number);
    [[nodiscard]] QString addStream(int descriptor);
    void startCopy(int descriptor);
    void passOnEndOfInput();

    std::map<int, Line> m_lines;
    QStringList m_devices;
    QStringList m_arguments;
    std::array<ChildProcess, 3> m_copies;
    std::optional<QSocketNotifier> m_inputEnded;
};

} // namespace world

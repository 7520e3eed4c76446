#include "GuestPorts.h"

#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace world {

namespace {

constexpr int ConsolePort = 0;
constexpr int ControlPort = 1;

bool isOnConsole(int descriptor)
{
    return GuestPorts::isConsole() && isatty(descriptor) != 0;
}

int portOf(int descriptor)
{
    return isOnConsole(descriptor) ? ConsolePort : descriptor + 2;
}

} // namespace

bool GuestPorts::isConsole()
{
    return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
}

GuestPorts::GuestPorts()
{
    addPort(QStringLiteral("virtserialport"), ControlPort);
    for (const int descriptor : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        m_devices << addStream(descriptor);
    }
}

void GuestPorts::addPort(const QString& kind, int number)
{
    std::array<int, 2> ends{ -1, -1 };
    socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data());
    m_lines[number] = { FileDescriptor(ends[0]), FileDescriptor(ends[1]) };
    m_arguments << QStringLiteral("-chardev")
                << QStringLiteral("socket,id=port%1,fd=%2").arg(number).arg(ends[1])
                << QStringLiteral("-device")
                << QStringLiteral("%1,nr=%2,chardev=port%2").arg(kind).arg(number);
}

QString GuestPorts::addStream(int descriptor)
{
    const int port = portOf(descriptor);
    if (port == ConsolePort) {
        if (m_lines.count(ConsolePort) == 0) {
            addPort(QStringLiteral("virtconsole"), ConsolePort);
        }
        return QStringLiteral("/dev/hvc0");
    }
    // Whoever looks at our output by a pager needs the keys of the terminal.
    if (descriptor == STDIN_FILENO && isatty(descriptor) != 0) {
        return QStringLiteral("/dev/null");
    }
    addPort(QStringLiteral("virtserialport"), port);
    return QStringLiteral("/dev/vport*p%1").arg(port);
}

std::vector<int> GuestPorts::machineEnds() const
{
    std::vector<int> descriptors;
    for (const auto& [number, line] : m_lines) {
        descriptors.push_back(line.machines.get());
    }
    return descriptors;
}

FileDescriptor GuestPorts::connect()
{
    for (auto& [number, line] : m_lines) {
        line.machines.reset();
    }
    for (const int descriptor : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        startCopy(descriptor);
    }
    passOnEndOfInput();
    return std::move(m_lines[ControlPort].ours);
}

void GuestPorts::startCopy(int descriptor)
{
    const auto line = m_lines.find(portOf(descriptor));
    // On the console, errors come with the output.
    if (line == m_lines.end() || (descriptor == STDERR_FILENO && isOnConsole(descriptor))) {
        return;
    }
    Command copy;
    copy.arguments = QStringList{ QStringLiteral("cat") };
    copy.place = Command::Place::Foreground;
    const int ours = line->second.ours.get();
    copy.input = descriptor == STDIN_FILENO ? -1 : ours;
    copy.output = descriptor == STDIN_FILENO ? ours : descriptor;
    static_cast<void>(m_copies[static_cast<std::size_t>(descriptor)].start(copy));
}

/// QEMU forgets what it has not read yet when a line is closed altogether.
void GuestPorts::passOnEndOfInput()
{
    const int ended = m_copies[STDIN_FILENO].descriptor();
    if (ended < 0 || isConsole()) {
        return;
    }
    m_inputEnded.emplace(ended, QSocketNotifier::Read);
    QObject::connect(&*m_inputEnded, &QSocketNotifier::activated, &*m_inputEnded, [this] {
        m_inputEnded->setEnabled(false);
        shutdown(m_lines[portOf(STDIN_FILENO)].ours.get(), SHUT_WR);
    });
}

void GuestPorts::finish()
{
    m_copies[STDOUT_FILENO].wait();
    m_copies[STDERR_FILENO].wait();
}

} // namespace world

#include "GuestConsole.h"

#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

namespace world {

namespace {

FileDescriptor resizes()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGWINCH);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return FileDescriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

} // namespace

GuestConsole::GuestConsole(FileDescriptor control)
    : m_control(std::move(control))
    , m_resizes(resizes())
    , m_lines(m_control.get(), QSocketNotifier::Read)
    , m_resized(m_resizes.get(), QSocketNotifier::Read)
{
    QObject::connect(&m_lines, &QSocketNotifier::activated, &m_lines, [this] { readLines(); });
    QObject::connect(&m_resized, &QSocketNotifier::activated, &m_resized, [this] {
        signalfd_siginfo signal{};
        while (read(m_resizes.get(), &signal, sizeof signal) == sizeof signal) { }
        sendSize();
    });
    takeKeys(false);
}

void GuestConsole::readLines()
{
    std::array<char, 256> text{};
    const ssize_t got = read(m_control.get(), text.data(), text.size());
    if (got <= 0) {
        m_lines.setEnabled(false);
        return;
    }
    m_unfinished.append(text.data(), static_cast<int>(got));
    for (int end = 0; (end = m_unfinished.indexOf('\n')) >= 0;) {
        const QByteArray line = m_unfinished.left(end);
        m_unfinished.remove(0, end + 1);
        if (line == "up") {
            sendSize();
            takeKeys(true);
        } else if (line == "stopped") {
            stop();
        }
    }
}

// Once there is somebody who reads them, Ctrl-C and its like are keys, which the machine's own terminal turns
// into signals there. Before, they end us.
void GuestConsole::takeKeys(bool all) const
{
    termios settings{};
    if (tcgetattr(STDIN_FILENO, &settings) != 0) {
        return;
    }
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    if (all) {
        cfmakeraw(&settings);
    }
    tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
}

void GuestConsole::stop() const
{
    m_terminal.restore();
    kill(0, SIGTSTP);
    takeKeys(true); // where somebody let us go on without the terminal, this stops us again
    sendSize();
    send("continue\n");
}

void GuestConsole::sendSize() const
{
    winsize size{};
    if (ioctl(STDIN_FILENO, TIOCGWINSZ, &size) == 0) {
        send("size " + QByteArray::number(size.ws_row) + ' ' + QByteArray::number(size.ws_col) + '\n');
    }
}

void GuestConsole::send(const QByteArray& line) const
{
    // A machine that reads no more is about to end, which is noticed elsewhere.
    ::send(m_control.get(), line.constData(), static_cast<size_t>(line.size()), MSG_NOSIGNAL | MSG_DONTWAIT);
}

} // namespace world

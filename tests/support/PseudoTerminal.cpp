#include "PseudoTerminal.h"

#include <QDeadlineTimer>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <array>
#include <csignal>

namespace {

constexpr int Columns = 80;
constexpr int PatienceMilliseconds = 30'000;

} // namespace

void PseudoTerminal::Process::setupChildProcess()
{
    login_tty(terminal);
}

PseudoTerminal::PseudoTerminal(int height)
    : m_height(height)
    , m_emulator(vterm_new(height, Columns), vterm_free)
{
    const winsize size{ static_cast<unsigned short>(height), Columns, 0, 0 };
    openpty(&m_keyboard, &m_process.terminal, nullptr, nullptr, &size);
    fcntl(m_keyboard, F_SETFD, FD_CLOEXEC);
    fcntl(m_keyboard, F_SETFL, O_NONBLOCK);
    fcntl(m_process.terminal, F_SETFD, FD_CLOEXEC);
    vterm_set_utf8(m_emulator.get(), 1);
    VTermScreen* screen = vterm_obtain_screen(m_emulator.get());
    vterm_screen_enable_altscreen(screen, 1);
    vterm_screen_reset(screen, 1);
}

PseudoTerminal::~PseudoTerminal()
{
    close(m_keyboard); // the terminal's end is told to all of its session
    m_process.kill();
    m_process.waitForFinished();
    close(m_process.terminal);
}

bool PseudoTerminal::start(const QStringList& words,
                           const std::vector<std::pair<QString, QString>>& environment)
{
    auto all = QProcessEnvironment::systemEnvironment();
    all.insert("TERM", "xterm");
    for (const char* size : { "LINES", "COLUMNS" }) {
        all.remove(size);
    }
    for (const auto& [name, value] : environment) {
        all.insert(name, value);
    }
    m_process.setProcessEnvironment(all);
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_process.start(words.first(), words.mid(1));
    return m_process.waitForStarted();
}

void PseudoTerminal::type(const QByteArray& keys) const
{
    const ssize_t written = write(m_keyboard, keys.constData(), static_cast<size_t>(keys.size()));
    Q_ASSERT(written == keys.size());
}

void PseudoTerminal::resize(int height)
{
    m_height = height;
    vterm_set_size(m_emulator.get(), height, Columns);
    const winsize size{ static_cast<unsigned short>(height), Columns, 0, 0 };
    ioctl(m_keyboard, TIOCSWINSZ, &size);
}

void PseudoTerminal::takeOutput()
{
    std::array<char, 4096> bytes{};
    ssize_t count = 0;
    while ((count = read(m_keyboard, bytes.data(), bytes.size())) > 0) {
        vterm_input_write(m_emulator.get(), bytes.data(), static_cast<size_t>(count));
    }
}

bool PseudoTerminal::waitUntil(const std::function<bool(const QStringList& lines)>& holds)
{
    const QDeadlineTimer deadline(PatienceMilliseconds);
    for (;;) {
        takeOutput();
        if (holds(lines())) {
            return true;
        }
        if (deadline.hasExpired()) {
            return false;
        }
        pollfd output{ m_keyboard, POLLIN, 0 };
        poll(&output, 1, static_cast<int>(deadline.remainingTime()));
    }
}

bool PseudoTerminal::shows(const QString& text)
{
    return waitUntil([&](const QStringList& lines) { return lines.join('\n').contains(text); });
}

bool PseudoTerminal::hides(const QString& text)
{
    return waitUntil([&](const QStringList& lines) { return !lines.join('\n').contains(text); });
}

QStringList PseudoTerminal::lines() const
{
    VTermScreen* screen = vterm_obtain_screen(m_emulator.get());
    QStringList result;
    for (int line = 0; line < m_height; ++line) {
        QByteArray text(Columns * VTERM_MAX_CHARS_PER_CELL * 4, '\0');
        const VTermRect place{ line, line + 1, 0, Columns };
        text.truncate(static_cast<int>(
            vterm_screen_get_text(screen, text.data(), static_cast<size_t>(text.size()), place)));
        result << QString::fromUtf8('|' + text).trimmed().mid(1);
    }
    return result;
}

QString PseudoTerminal::reversedLine() const
{
    VTermScreen* screen = vterm_obtain_screen(m_emulator.get());
    for (int line = 0; line < m_height; ++line) {
        VTermScreenCell cell{};
        if (vterm_screen_get_cell(screen, { line, 0 }, &cell) != 0 && cell.attrs.reverse != 0) {
            return lines()[line];
        }
    }
    return {};
}

int PseudoTerminal::finish()
{
    // What it still has to say must not keep it.
    const int ended = static_cast<int>(syscall(SYS_pidfd_open, program(), 0));
    std::array<pollfd, 2> ready{ { { m_keyboard, POLLIN, 0 }, { ended, POLLIN, 0 } } };
    const QDeadlineTimer deadline(PatienceMilliseconds);
    while (ended >= 0 && ready[1].revents == 0 && !deadline.hasExpired()) {
        poll(ready.data(), ready.size(), static_cast<int>(deadline.remainingTime()));
        takeOutput();
    }
    close(ended);
    if (!m_process.waitForFinished(static_cast<int>(deadline.remainingTime()))) {
        return -1;
    }
    takeOutput();
    return (m_process.exitStatus() == QProcess::CrashExit ? 128 : 0) + m_process.exitCode();
}

pid_t PseudoTerminal::foreground() const
{
    return tcgetpgrp(m_keyboard);
}

QByteArray PseudoTerminal::settings() const
{
    termios now{};
    tcgetattr(m_process.terminal, &now);
    return { reinterpret_cast<const char*>(&now), sizeof now };
}

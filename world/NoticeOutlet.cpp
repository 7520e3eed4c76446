#include "NoticeOutlet.h"

#include "Escaped.h"

#include <QString>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace world {

namespace {

using namespace std::chrono_literals;

constexpr auto LastMoment = 500ms;
constexpr int LongestNotice = 1000; // characters; as bytes less than what a pipe takes in one piece
constexpr int MostWaiting = 64 * 1024;

/// A terminal in raw mode does not go back to the first column by itself.
bool needsReturn(int terminal)
{
    termios settings{};
    return tcgetattr(terminal, &settings) == 0
        && ((settings.c_oflag & OPOST) == 0 || (settings.c_oflag & ONLCR) == 0);
}

/// As write(2). Who writes to a terminal from the background is stopped, unless it does not hear that.
ssize_t writeUnstopped(int descriptor, const char* data, std::size_t size)
{
    sigset_t stop;
    sigset_t before;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTTOU);
    sigprocmask(SIG_BLOCK, &stop, &before);
    const ssize_t written = ::write(descriptor, data, size);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return written;
}

bool takes(int descriptor, std::chrono::milliseconds limit)
{
    pollfd writable{ descriptor, POLLOUT, 0 };
    return poll(&writable, 1, static_cast<int>(limit.count())) > 0;
}

} // namespace

void NoticeOutlet::redirect(int descriptor)
{
    m_descriptor = descriptor;
    m_writable.emplace(descriptor, QSocketNotifier::Write);
    m_writable->setEnabled(!m_waiting.isEmpty());
    QObject::connect(&*m_writable, &QSocketNotifier::activated, &*m_writable, [this] { write(); });
}

bool NoticeOutlet::isAllowed()
{
    const auto refill = (Clock::now() - m_refilled) / Interval;
    if (refill > 0) {
        m_refilled += refill * Interval;
        m_allowance = static_cast<int>(std::min<decltype(m_allowance + refill)>(m_allowance + refill, Burst));
    }
    return m_allowance > 0 && m_waiting.size() < MostWaiting;
}

void NoticeOutlet::show(const QByteArray& text)
{
    if (!isAllowed()) {
        if (m_leftOut++ == 0) {
            queue("these are many; those that follow at once are left out, --log FILE keeps them");
        }
        return;
    }
    --m_allowance;
    if (m_leftOut > 0) {
        queue(QByteArray::number(m_leftOut) + " were left out");
        m_leftOut = 0;
    }
    queue(text);
}

void NoticeOutlet::queue(const QByteArray& text)
{
    QString line = QString::fromUtf8(text);
    if (line.size() > LongestNotice) {
        line = line.left(LongestNotice) + QChar(0x2026);
    }
    m_waiting += "notice: " + base::escaped(line).toUtf8() + (needsReturn(m_descriptor) ? "\r\n" : "\n");
    write();
}

void NoticeOutlet::write()
{
    writeWhatIsTaken();
    m_writable->setEnabled(!m_waiting.isEmpty());
}

void NoticeOutlet::writeWhatIsTaken()
{
    while (!m_waiting.isEmpty() && takes(m_descriptor, 0ms)) {
        const int line = m_waiting.indexOf('\n') + 1;
        const ssize_t written =
            writeUnstopped(m_descriptor, m_waiting.constData(), static_cast<std::size_t>(line));
        if (written <= 0) {
            if (errno != EAGAIN && errno != EINTR) {
                m_waiting.clear(); // nobody is there to read it
            }
            return;
        }
        m_waiting.remove(0, static_cast<int>(written));
    }
}

void NoticeOutlet::finish()
{
    if (m_leftOut > 0) {
        queue(QByteArray::number(m_leftOut) + " were left out");
        m_leftOut = 0;
    }
    const auto deadline = Clock::now() + LastMoment;
    while (!m_waiting.isEmpty()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left <= 0ms || !takes(m_descriptor, left)) {
            return;
        }
        write();
    }
}

} // namespace world

#include "Notices.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

namespace itemctl {
namespace {

constexpr int Kept = 9;
constexpr int LongestLine = 16 * 1024; // bytes; a longer one is told in pieces

} // namespace

Notices::Notices(int descriptor)
    : m_readable(descriptor, QSocketNotifier::Read)
{
    ::fcntl(descriptor, F_SETFL, O_NONBLOCK);
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    connect(&m_readable, &QSocketNotifier::activated, this, &Notices::read);
}

void Notices::read()
{
    std::array<char, 4096> part{};
    const auto got = ::read(static_cast<int>(m_readable.socket()), part.data(), part.size());
    if (got <= 0) {
        m_readable.setEnabled(got < 0 && errno == EAGAIN);
        return;
    }
    m_text.append(part.data(), static_cast<int>(got));
    for (int end = m_text.indexOf('\n'); end >= 0 || m_text.size() > LongestLine;
         end = m_text.indexOf('\n')) {
        m_last.prepend(QString::fromUtf8(m_text.left(end)));
        m_last = m_last.mid(0, Kept);
        m_text = end < 0 ? QByteArray() : m_text.mid(end + 1);
        m_told = 0;
        Q_EMIT came(m_last.first());
    }
}

QString Notices::earlier()
{
    if (m_last.isEmpty()) {
        return {};
    }
    m_told = (m_told + 1) % m_last.size();
    return QStringLiteral("%1 of %2: %3").arg(m_last.size() - m_told).arg(m_last.size()).arg(m_last[m_told]);
}

} // namespace itemctl

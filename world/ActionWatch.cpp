#include "ActionWatch.h"

#include "ActionMonitor.h"
#include "NoticeOutlet.h"

#include <array>

namespace world {

namespace {

constexpr int LastMoment = 1500; // ms; longer than the monitor waits for an answer

} // namespace

ActionWatch::ActionWatch(const QString& sessionBusAddress, const QString& systemBusAddress,
                         NoticeOutlet& outlet)
    : m_outlet(outlet)
    , m_notices(Pipe::create(O_NONBLOCK))
    , m_monitor(std::make_unique<ActionMonitor>(sessionBusAddress, systemBusAddress, m_notices.writing.get()))
{
    if (m_monitor->listen()) {
        m_monitor->moveToThread(&m_thread);
        m_thread.start();
    } else {
        m_notices.reading.reset();
    }
}

ActionWatch::~ActionWatch()
{
    m_thread.quit();
    m_thread.wait();
}

void ActionWatch::attend()
{
    take();
}

void ActionWatch::finish()
{
    m_monitor->markEnd();
    pollfd ready = awaits();
    while (ready.fd >= 0 && poll(&ready, 1, LastMoment) > 0) {
        if (take()) {
            return;
        }
    }
}

bool ActionWatch::take()
{
    std::array<char, 4096> part{};
    ssize_t got = 0;
    while ((got = read(m_notices.reading.get(), part.data(), part.size())) > 0) {
        m_text.append(part.data(), static_cast<int>(got));
    }
    bool hasSeenAll = false;
    for (int end = m_text.indexOf('\n'); end >= 0; end = m_text.indexOf('\n')) {
        hasSeenAll = hasSeenAll || end == 0;
        if (end > 0) {
            m_outlet.show(m_text.left(end));
        }
        m_text.remove(0, end + 1);
    }
    return hasSeenAll;
}

} // namespace world

#include "Inquiry.h"

#include "Room.h"
#include "SimulationClock.h"

#include <algorithm>

namespace bt {

namespace {

constexpr SimulationClock::Duration StepLength{ 320 };
constexpr int StepCount = 16;
constexpr int LastFound = 11; // so that the slowest name comes in time
constexpr int SlowestName = 4;
constexpr int StepsBetweenReadings = 3;
constexpr int StrengthSpread = 4; // dB to either side

} // namespace

Inquiry::Inquiry(Room& room, SimulationClock& clock, QRandomGenerator& random, const ScanResults& before)
    : m_room(room)
    , m_clock(clock)
    , m_random(random)
    , m_list(before)
{
    for (const auto& [address, device] : m_room.devices()) {
        if (!device.present) {
            continue;
        }
        const int found = m_random.bounded(1, LastFound + 1);
        m_schedules.append({ address, { found, found + m_random.bounded(1, SlowestName + 1) } });
    }
    std::stable_sort(m_schedules.begin(), m_schedules.end(), [](const auto& left, const auto& right) {
        return left.second.found < right.second.found;
    });
    planStep();
}

void Inquiry::planStep()
{
    m_clock.after(StepLength, this, [this] { step(); });
}

void Inquiry::step()
{
    ++m_step;
    const ScanResults before = results();
    for (const auto& [address, schedule] : qAsConst(m_schedules)) {
        if (schedule.found > m_step) {
            break; // they are in this order
        }
        hear(address, schedule);
    }
    m_list.arrange(m_clock.now());
    const bool last = m_step == StepCount;
    if (last) {
        m_list.dropUnheard();
    }
    if (results() != before) {
        Q_EMIT resultsChanged();
    }
    if (last) {
        Q_EMIT finished();
        return;
    }
    planStep();
}

void Inquiry::hear(qulonglong address, const Schedule& schedule)
{
    const SimulatedDevice* device = m_room.find(address);
    if (device == nullptr) { // it has been removed
        if (m_step == StepCount) {
            m_list.miss(address);
        }
        return;
    }
    if (m_step == schedule.named) {
        m_room.learnName(address);
    }
    ScanEntry heard;
    heard.address = address;
    heard.name = m_room.knownName(address);
    if ((m_step - schedule.found) % StepsBetweenReadings == 0) {
        heard.signalStrength =
            device->signalStrengthAt(m_clock.now()) + m_random.bounded(-StrengthSpread, StrengthSpread + 1);
    }
    m_list.hear(heard, device->deviceClass != 0);
}

} // namespace bt

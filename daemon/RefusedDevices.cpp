#include "RefusedDevices.h"

#include <algorithm>
#include <utility>

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr RefusedDevices::Milliseconds FirstSilence = 10s;
constexpr RefusedDevices::Milliseconds LongestSilence = 10min;

} // namespace

RefusedDevices::Milliseconds RefusedDevices::refuse(qulonglong address, Milliseconds now)
{
    const auto known = m_devices.find(address);
    // Who has kept quiet for long begins anew.
    if (known == m_devices.end() || now - known->until > LongestSilence) {
        m_devices.insert(address, { 0ms, now, 0 });
        return 0ms;
    }
    known->silence = std::clamp(2 * known->silence, FirstSilence, LongestSilence);
    known->until = now + known->silence;
    return known->silence;
}

bool RefusedDevices::hears(qulonglong address, Milliseconds now)
{
    const auto known = m_devices.find(address);
    if (known == m_devices.end() || now >= known->until) {
        return true;
    }
    ++known->unheard;
    return false;
}

int RefusedDevices::takeUnheard(qulonglong address)
{
    const auto known = m_devices.find(address);
    return known == m_devices.end() ? 0 : std::exchange(known->unheard, 0);
}

} // namespace bt

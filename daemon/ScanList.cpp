#include "ScanList.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <tuple>

namespace bt {

namespace {

using namespace std::chrono_literals;

constexpr auto ReadingTime = 4s;
constexpr int ClearChange = 8; // dB; what a device that lies still varies by is less

bool hasStrength(const ScanEntry& entry)
{
    return entry.signalStrength != std::numeric_limits<int>::max();
}

} // namespace

ScanList::ScanList(const ScanResults& before)
{
    for (const ScanEntry& entry : before.entries) {
        m_rows.push_back({ entry, false, false, 0 });
    }
}

bool ScanList::goesBefore(const Row& left, const Row& right)
{
    if (!left.heard || !right.heard) {
        return left.heard && !right.heard;
    }
    const auto rank = [](const Row& row) {
        return std::make_tuple(row.entry.name.isEmpty(), !row.canConnect, -row.place);
    };
    return rank(left) < rank(right);
}

std::vector<ScanList::Row>::iterator ScanList::find(qulonglong address)
{
    return std::find_if(m_rows.begin(), m_rows.end(),
                        [address](const Row& row) { return row.entry.address == address; });
}

bool ScanList::isHeard(qulonglong address) const
{
    return std::any_of(m_rows.begin(), m_rows.end(),
                       [address](const Row& row) { return row.heard && row.entry.address == address; });
}

void ScanList::hear(const ScanEntry& heard, bool canConnect)
{
    const auto known = find(heard.address);
    Row row{ heard, true, canConnect, NoStrength };
    if (known != m_rows.end()) {
        row = *known;
        row.heard = true;
        row.canConnect = canConnect;
        row.entry.name = heard.name.isEmpty() ? row.entry.name : heard.name;
        row.entry.signalStrength = hasStrength(heard) ? heard.signalStrength : row.entry.signalStrength;
        const bool moves = !known->heard || known->canConnect != canConnect
            || (known->place == NoStrength && hasStrength(heard))
            || known->entry.name.isEmpty() != row.entry.name.isEmpty();
        if (!moves) {
            *known = row;
            return;
        }
        m_rows.erase(known);
    }
    if (!hasStrength(row.entry)) {
        row.entry.signalStrength = NoStrength;
    }
    row.place = row.entry.signalStrength;
    m_rows.insert(std::upper_bound(m_rows.begin(), m_rows.end(), row, goesBefore), row);
    if (m_rows.size() > MostResults) {
        m_rows.pop_back();
    }
}

void ScanList::arrange(Milliseconds now)
{
    if (now - m_arranged < ReadingTime) {
        return;
    }
    m_arranged = now;
    for (Row& row : m_rows) {
        if (std::abs(row.entry.signalStrength - row.place) >= ClearChange) {
            row.place = row.entry.signalStrength;
        }
    }
    std::stable_sort(m_rows.begin(), m_rows.end(), goesBefore);
}

void ScanList::miss(qulonglong address)
{
    if (const auto row = find(address); row != m_rows.end()) {
        m_rows.erase(row);
    }
}

bool ScanList::dropUnheard()
{
    const std::size_t before = m_rows.size();
    m_rows.erase(std::remove_if(m_rows.begin(), m_rows.end(), [](const Row& row) { return !row.heard; }),
                 m_rows.end());
    return m_rows.size() != before;
}

ScanResults ScanList::results() const
{
    ScanResults results;
    results.entries.reserve(static_cast<int>(m_rows.size()));
    for (const Row& row : m_rows) {
        results.entries.append(row.entry);
    }
    return results;
}

} // namespace bt

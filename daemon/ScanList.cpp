#include "ScanList.h"

#include <algorithm>
#include <utility>

namespace bt {

ScanList::ScanList(ScanResults before)
    : m_results(std::move(before))
{
    for (int row = 0; row < m_results.entries.size(); ++row) {
        m_rows.insert(m_results.entries.at(row).address, row);
    }
}

ScanEntry* ScanList::entryOf(qulonglong address)
{
    const auto known = m_rows.constFind(address);
    if (known != m_rows.constEnd()) {
        return &m_results.entries[known.value()];
    }
    if (m_results.entries.size() >= MostResults) {
        return nullptr;
    }
    m_rows.insert(address, m_results.entries.size());
    ScanEntry entry;
    entry.address = address;
    m_results.entries.append(entry);
    return &m_results.entries.last();
}

bool ScanList::keepOnly(const QSet<qulonglong>& addresses)
{
    QList<ScanEntry>& entries = m_results.entries;
    const int before = entries.size();
    entries.erase(
        std::remove_if(entries.begin(), entries.end(),
                       [&addresses](const ScanEntry& entry) { return !addresses.contains(entry.address); }),
        entries.end());
    const bool changed = entries.size() != before;
    if (changed) {
        *this = ScanList(std::exchange(m_results, {}));
    }
    return changed;
}

} // namespace bt

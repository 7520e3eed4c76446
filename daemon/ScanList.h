#pragma once

#include "DaemonTypes.h"

#include <QHash>
#include <QSet>

namespace bt {

/// What scans have found, in an order that stays: what an earlier scan found keeps its place, new devices
/// follow in the order in which they are heard.
class ScanList
{
public:
    /// More devices than that are not listed.
    static constexpr int MostResults = 128;

    explicit ScanList(ScanResults before);

    /// The device's entry, a new one when it had none; null when there are too many.
    [[nodiscard]] ScanEntry* entryOf(qulonglong address);
    /// Ends a scan. @return whether an entry went.
    bool keepOnly(const QSet<qulonglong>& addresses);

    [[nodiscard]] const ScanResults& results() const { return m_results; }

private:
    ScanResults m_results;
    QHash<qulonglong, int> m_rows;
};

} // namespace bt

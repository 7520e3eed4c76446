#pragma once

#include "DaemonTypes.h"

#include <chrono>
#include <vector>

namespace bt {

/// What scans have found, in the order in which a person looks for a device, for clients show the first few
/// dozen rows: those with a name before those without, classic ones before beacons, strong before weak.
///
/// Rows stay while they are read: a device moves when it is heard for the first time in this scan, when it
/// tells its name or strength, when another one comes in above it, and for its strength alone only when that
/// has changed clearly, all together every few seconds. What an earlier scan found stands below what this one
/// has heard.
class ScanList
{
public:
    /// More devices than that are not listed; the last ones go.
    static constexpr std::size_t MostResults = 128;
    /// The strength, in dBm, of a device that is heard without one: below every real one.
    static constexpr int NoStrength = -127;

    using Milliseconds = std::chrono::milliseconds;

    explicit ScanList(const ScanResults& before);

    /// Takes what a device tells now; without a strength (the largest int) or a name it keeps the one that it
    /// had. \a canConnect is for those that are more than a beacon, as far as one can tell.
    void hear(const ScanEntry& heard, bool canConnect);
    /// Moves those whose strength has changed. @param now the time, on any clock
    void arrange(Milliseconds now);
    /// For one that was heard and turns out not to be there.
    void miss(qulonglong address);
    /// Ends a scan. @return whether an entry went.
    bool dropUnheard();
    [[nodiscard]] bool isHeard(qulonglong address) const;

    [[nodiscard]] ScanResults results() const;

private:
    struct Row
    {
        ScanEntry entry;
        bool heard = false;
        bool canConnect = false;
        int place = NoStrength; ///< the strength that it stands there for
    };

    static bool goesBefore(const Row& left, const Row& right);
    [[nodiscard]] std::vector<Row>::iterator find(qulonglong address);

    std::vector<Row> m_rows;
    Milliseconds m_arranged{ 0 };
};

} // namespace bt

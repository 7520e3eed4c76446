#pragma once

#include <QHash>

#include <chrono>

namespace bt {

/// Devices that wanted to pair and whom our user did not want. A second time in a row, and from then on each
/// time twice as long, such a device is not heard: one that asks again and again would keep the user from
/// scanning and pairing.
class RefusedDevices
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /// Its wish came to nothing, and nobody here had agreed. @return for how long it is not heard now
    Milliseconds refuse(qulonglong address, Milliseconds now);
    /// Forgets what was: it is paired, or our user wants to pair with it.
    void forgive(qulonglong address) { m_devices.remove(address); }
    /// Whether its question is to be heard; counts it when it is not.
    [[nodiscard]] bool hears(qulonglong address, Milliseconds now);
    /// How many of its questions were not heard since the last one that was. Begins anew.
    [[nodiscard]] int takeUnheard(qulonglong address);

private:
    struct Refused
    {
        Milliseconds silence{ 0 };
        Milliseconds until{ 0 };
        int unheard = 0;
    };

    QHash<qulonglong, Refused> m_devices;
};

} // namespace bt

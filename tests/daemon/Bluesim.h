#pragma once

#include "support/RadioProgram.h"

/// The simulated radio's program.
class Bluesim : public RadioProgram
{
public:
    /// Fifty times faster than real: an inquiry takes a tenth of a second.
    static constexpr const char* Scale = "50";

    Bluesim()
        : RadioProgram(QStringLiteral(BLUESIM))
    {
    }

    /// Starts it and waits until the radio is on.
    bool switchOn(const char* scale = Scale)
    {
        qputenv("BLUESIM_TIME_SCALE", scale);
        if (!appear()) {
            return false;
        }
        QSignalSpy status(proxy.data(), &BluetoothIf::statusChanged);
        while (proxy->status() != 3) {
            if (status.isEmpty() && !Patience::wait(status)) {
                return false;
            }
            status.clear();
        }
        QCoreApplication::processEvents(); // signals that came before the answer
        return true;
    }
};

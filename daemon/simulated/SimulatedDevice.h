#pragma once

#include <QString>

namespace bt {

/// A device around the simulated radio: what it is and how it behaves.
struct SimulatedDevice
{
    enum class Pairing {
        JustWorks, ///< nobody is asked
        Code, ///< both sides compare six digits
        SimpleConfirmation, ///< the user is asked, without a code
        Pin ///< the user types the PIN of the device
    };
    enum class Answer {
        Accepts,
        Refuses, ///< breaks the pairing off
        OutOfReach ///< answers an inquiry, but no connection comes about
    };

    qulonglong address = 0;
    /// Empty when the device never tells one.
    QString name;
    /// Mean received power in dBm; what an inquiry reports moves around it.
    int signalStrength = -60;
    Pairing pairing = Pairing::JustWorks;
    Answer answer = Answer::Accepts;
    /// The PIN that the device takes; with Pairing::Pin only.
    QString pin;
    /// The six digits to compare, with Pairing::Code; empty for others at each pairing.
    QString code;
    /// What a connection is, as the bits of bt::Connection.
    unsigned connection = 1;
    /// The companion application runs on it.
    bool companion = false;
    /// A Wi-FED: a command socket opens with its connection.
    bool wifed = false;
    /// Whether its name has been asked for since the radio was started.
    bool nameKnown = false;
};

} // namespace bt

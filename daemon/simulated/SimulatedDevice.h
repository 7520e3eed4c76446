#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace bt {

/// How the signal of a device changes while it goes from one place to another. Outside of its time it stays.
struct Movement
{
    std::chrono::milliseconds begin{ 0 };
    std::chrono::milliseconds duration{ 0 };
    int from = 0; ///< dBm
    int to = 0; ///< dBm
    bool returns = false; ///< and goes back in the same time, again and again
};

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
        Silent, ///< is reached, and then says no more
        OutOfReach, ///< answers an inquiry, but no connection comes about
        Forgets ///< pairs, and then knows nothing of it
    };

    /// The signal strength at a time of the simulation, in dBm.
    [[nodiscard]] int signalStrengthAt(std::chrono::milliseconds time) const;

    qulonglong address = 0;
    /// Empty when the device never tells one.
    QString name;
    /// The class of device as the standard numbers it (24 bits); no client of the daemon sees it.
    unsigned deviceClass = 0;
    /// Mean received power in dBm; what an inquiry reports moves around it.
    int signalStrength = -60;
    std::optional<Movement> movement;
    Pairing pairing = Pairing::JustWorks;
    Answer answer = Answer::Accepts;
    /// The PIN that the device takes, with Pairing::Pin; an empty one takes none.
    QString pin;
    /// The six digits to compare, with Pairing::Code; empty for others at each pairing.
    QString code;
    /// What a connection is, as the bits of bt::Connection.
    unsigned connection = 1;
    /// The companion application runs on it.
    bool companion = false;
    /// A Wi-FED: a command socket opens with its connection.
    bool wifed = false;
    /// Paired when the simulation begins, unless pairings of an earlier run are known, or when it is added.
    bool paired = false;
    /// Whether it is there.
    bool present = true;
    /// Whether its name has been asked for since the radio was started.
    bool nameKnown = false;
};

} // namespace bt

#pragma once

#include <QString>

#include <chrono>

/// How a device of the scenery wants to be paired.
enum class Way { Code, Pin, JustWorks };

/// The radio under test, and the devices around it with the people who hold them.
class Scenery
{
public:
    Scenery() = default;
    virtual ~Scenery() = default;
    Scenery(const Scenery&) = delete;
    Scenery& operator=(const Scenery&) = delete;

    /// The controller program that the module starts.
    [[nodiscard]] virtual QString controller() const = 0;
    /// How long anything may take, after some waits in vain. Software emulation is slow.
    [[nodiscard]] virtual std::chrono::milliseconds patience(int /*inVain*/) const
    {
        return std::chrono::minutes(1);
    }
    /// Comes before the host. @return what went wrong; empty when the surroundings are there.
    [[nodiscard]] virtual QString begin() = 0;
    /// The address of a device in reach whose person agrees to be paired, or does not. The PIN is pin().
    [[nodiscard]] virtual QString device(Way way, bool agrees) = 0;
    /// The device ends the link.
    virtual void dropLink() { }
    /// A device begins to pair with us, by code. @return its address.
    virtual QString requestPairing() { return {}; }
    /// That device no longer wants to.
    virtual void takeBackRequest() { }
    /// The devices know nothing of us any more.
    virtual void forgetUs() { }

    /// What the radio knows of a reason over there.
    [[nodiscard]] virtual QString heard(const QString& reason) const { return reason; }

    static QString pin() { return "5190"; }
    static QString nobody() { return "0A:0B:0C:0D:0E:0F"; }
};

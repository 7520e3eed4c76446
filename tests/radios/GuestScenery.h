#pragma once

#include "EmulatedControllers.h"
#include "Scenery.h"
#include "SecondRadio.h"
#include "support/ProblemOf.h"

#include <memory>

/// The real radio: bluetoothd and two emulated controllers, in an emulated machine.
class GuestScenery : public Scenery
{
public:
    [[nodiscard]] QString controller() const override { return CONTROLLER; }
    [[nodiscard]] QString begin() override;
    [[nodiscard]] QString device(Way way, bool agrees) override;
    void dropLink() override { SecondRadio::dropLink(); }
    QString requestPairing() override;
    void takeBackRequest() override;
    /// Over the air both end the same way, and the kernel's word is no other.
    [[nodiscard]] QString heard(const QString& /*reason*/) const override
    {
        return "the two did not agree on a key";
    }
    void forgetUs() override { SecondRadio::forgetDevices(); }

    [[nodiscard]] EmulatedControllers& machine() { return m_machine; }
    [[nodiscard]] SecondRadio& second() { return *m_second; }
    /// The second controller as a device of low energy that nobody has met. @return its address.
    /// \a addresses are private ones, where it hides its own from whoever it is not paired with.
    enum class Addresses { Own, Private };
    [[nodiscard]] QString lowEnergyDevice(const QString& capability, Addresses addresses = Addresses::Own);

    /// Waits until both adapters are there, and the second one is on. @return what went wrong.
    [[nodiscard]] QString awaitAdapters();

    /// The name that somebody gave the adapter before; it is off then.
    static constexpr const char* FoundAlias = "found";
    /// A property of the adapter under test.
    [[nodiscard]] static QVariant adapterProperty(const QString& name)
    {
        return guestbluez::adapterProperty(EmulatedControllers::FirstAdapter, name);
    }
    /// As the rfkill key of a notebook does.
    static bool block(bool blocked);

private:
    void setCaller(bool second);
    void awaitVisible();

    EmulatedControllers m_machine;
    std::unique_ptr<SecondRadio> m_second;
};

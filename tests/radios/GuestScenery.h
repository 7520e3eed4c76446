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
    void forgetUs() override { SecondRadio::forgetDevices(); }

    [[nodiscard]] EmulatedControllers& machine() { return m_machine; }
    [[nodiscard]] SecondRadio& second() { return *m_second; }
    /// The second controller as a device of low energy that nobody has met. @return its address.
    [[nodiscard]] QString lowEnergyDevice(const QString& capability);

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

#pragma once

#include "ChildProcess.h"
#include "GuestBluez.h"
#include "Scenery.h"
#include "SecondRadio.h"

#include <csignal>
#include <memory>

/// The real radio: bluetoothd and two emulated controllers, in a guest of its own. The first one is the
/// machine's, the second one is the device that it meets.
class GuestScenery : public Scenery
{
public:
    [[nodiscard]] QString controller() const override { return CONTROLLER; }
    [[nodiscard]] QString begin() override;
    [[nodiscard]] QString device(Way way, bool agrees) override;
    void dropLink() override { SecondRadio::dropLink(); }
    QString requestPairing() override;
    void takeBackRequest() override { SecondRadio::giveUpPairing(adapterProperty("Address").toString()); }
    void forgetUs() override { SecondRadio::forgetDevices(); }

    [[nodiscard]] SecondRadio& second() { return *m_second; }
    /// The second controller as a device of low energy that nobody has met. @return its address.
    [[nodiscard]] QString lowEnergyDevice(const QString& capability);

    void plugIn() { start(m_controllers, { "btvirt", "-l2" }); }
    void unplug() { m_controllers.end(); }
    void startBluetoothd();
    void killBluetoothd()
    {
        m_bluetoothd.signal(SIGKILL);
        m_bluetoothd.wait();
    }
    /// Waits until both adapters are there. @return what went wrong.
    [[nodiscard]] QString awaitAdapters();

    /// The name that somebody gave the adapter before; it is off then.
    static constexpr const char* FoundAlias = "found";
    /// A property of the adapter under test.
    [[nodiscard]] static QVariant adapterProperty(const QString& name)
    {
        return guestbluez::adapterProperty(FirstAdapter, name);
    }
    /// As the rfkill key of a notebook does.
    static bool block(bool blocked);

private:
    static constexpr const char* FirstAdapter = "/org/bluez/hci0";

    static bool start(world::ChildProcess& process, const QStringList& arguments);
    void setCaller(bool second);
    void plugInAnew();

    world::ChildProcess m_controllers;
    world::ChildProcess m_bluetoothd;
    std::unique_ptr<SecondRadio> m_second;
    bool m_secondCalls = false;
};

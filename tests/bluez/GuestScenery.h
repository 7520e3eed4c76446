#pragma once

#include "Scenery.h"
#include "SecondRadio.h"
#include "world/ChildProcess.h"

#include <memory>

/// The real radio: bluetoothd and two emulated controllers, in a guest of its own. The first one is the
/// machine's, the second one is the device that it meets.
class GuestScenery : public Scenery
{
public:
    [[nodiscard]] QString controller() const override { return QStringLiteral(CONTROLLER); }
    [[nodiscard]] QString begin() override;
    [[nodiscard]] QString device(Way way, bool agrees) override;
    void dropLink() override;
    QString requestPairing() override;
    void takeBackRequest() override;
    void forgetUs() override;

    [[nodiscard]] SecondRadio& second() { return *m_second; }
    /// The second controller as a device of low energy that nobody has met. @return its address.
    [[nodiscard]] QString lowEnergyDevice(const QString& capability);

    void plugIn();
    void unplug();
    void startBluetoothd();
    void killBluetoothd();
    /// Waits until both adapters are there. @return what went wrong.
    [[nodiscard]] QString awaitAdapters();

    /// The name that somebody gave the adapter before; it is off then.
    static QString foundAlias() { return QStringLiteral("found"); }
    /// A property of the adapter under test.
    [[nodiscard]] QVariant adapterProperty(const QString& name) const;
    /// As the rfkill key of a notebook does.
    static bool block(bool blocked);

private:
    void setCaller(bool second);
    void plugInAnew();
    [[nodiscard]] QString leaveAsFound();

    world::ChildProcess m_controllers;
    world::ChildProcess m_bluetoothd;
    std::unique_ptr<SecondRadio> m_second;
    bool m_secondCalls = false;
};

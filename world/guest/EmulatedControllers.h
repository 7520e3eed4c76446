#pragma once

#include "ChildProcess.h"
#include "GuestBluez.h"

/// bluetoothd with two emulated controllers, in the emulated machine: hci0 is that machine's, hci1 the device
/// that it meets.
class EmulatedControllers
{
public:
    static constexpr const char* FirstAdapter = "/org/bluez/hci0";

    /// With the system bus that they need.
    [[nodiscard]] base::Result<> start();

    void plugIn() { run(m_controllers, { QStringLiteral("btvirt"), QStringLiteral("-l2") }); }
    void unplug() { m_controllers.end(); }
    [[nodiscard]] bool arePluggedIn() { return !m_controllers.wait(std::chrono::milliseconds(0)); }
    /// Unplugs them, and returns when bluetoothd shows the new ones.
    [[nodiscard]] base::Result<> plugInAnew();
    /// The emulated controllers pass no data once the other of them makes the connection; new ones do.
    /// @return whether they are new ones now
    [[nodiscard]] base::Result<bool> setCaller(bool second);

    void startBluetoothd();
    void killBluetoothd();
    [[nodiscard]] static base::Result<> awaitAdapters();

private:
    static bool run(world::ChildProcess& process, const QStringList& arguments);

    world::ChildProcess m_controllers;
    world::ChildProcess m_bluetoothd;
    bool m_secondCalls = false;
};

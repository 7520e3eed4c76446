#include "EmulatedControllers.h"

#include <csignal>
#include <unistd.h>

using guestbluez::adapterProperty;

namespace {

const QString BusAddress = QStringLiteral("unix:path=/run/dbus/system_bus_socket");
constexpr int Long = 60'000; // ms
constexpr const char* Device = "/dev/vhci"; ///< by which the kernel takes emulated controllers

bool isThere(const QString& adapter)
{
    return adapterProperty(adapter, QStringLiteral("Address")).isValid();
}

} // namespace

bool EmulatedControllers::run(world::ChildProcess& process, const QStringList& arguments)
{
    world::Command command;
    command.arguments = arguments;
    return process.start(command).has_value();
}

base::Result<> EmulatedControllers::start()
{
    if (::access(Device, R_OK | W_OK) != 0) { // before a system bus is started, which would stay
        return base::error(QStringLiteral("%1 is not there: emulated controllers belong into the emulated "
                                          "machine of \"./run --radio guest\"")
                               .arg(QLatin1String(Device)));
    }
    world::ChildProcess daemon;
    if (!run(daemon,
             { QStringLiteral("dbus-daemon"), QStringLiteral("--system"), QStringLiteral("--fork"),
               QStringLiteral("--nopidfile") })
        || daemon.wait() != 0) {
        return base::error(QStringLiteral("the emulated machine's system bus did not start"));
    }
    QDBusConnection::connectToBus(BusAddress, QLatin1String(guestbluez::Connection));
    plugIn();
    startBluetoothd();
    return awaitAdapters();
}

void EmulatedControllers::startBluetoothd()
{
    // The usual variable names a world's private bus where there is one.
    run(m_bluetoothd,
        { QStringLiteral("env"), QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS=") + BusAddress,
          QStringLiteral("/usr/libexec/bluetooth/bluetoothd"), QStringLiteral("-n") });
}

void EmulatedControllers::killBluetoothd()
{
    m_bluetoothd.signal(SIGKILL);
    m_bluetoothd.wait();
}

base::Result<> EmulatedControllers::awaitAdapters()
{
    guestbluez::Changes changes;
    const auto areThere = [] {
        return isThere(FirstAdapter) && isThere(QStringLiteral("/org/bluez/hci1"));
    };
    if (!changes.await(areThere, Long)) {
        return base::error(QStringLiteral("bluetoothd does not show both emulated adapters"));
    }
    return {};
}

base::Result<> EmulatedControllers::plugInAnew()
{
    unplug();
    guestbluez::Changes changes;
    if (!changes.await([] { return !isThere(FirstAdapter); }, Long)) {
        return base::error(QStringLiteral("bluetoothd still shows an adapter that was unplugged"));
    }
    m_secondCalls = false;
    plugIn();
    return awaitAdapters();
}

base::Result<bool> EmulatedControllers::setCaller(bool second)
{
    if (m_secondCalls == second) {
        return false;
    }
    auto done = plugInAnew();
    m_secondCalls = second;
    return done.map([] { return true; });
}

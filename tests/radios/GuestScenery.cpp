#include "GuestScenery.h"

#include <QFile>
#include <QtTest>

#include <linux/rfkill.h>

#include <utility>

namespace {

constexpr const char* BusAddress = "unix:path=/run/dbus/system_bus_socket";
constexpr int Long = 60'000; // ms

} // namespace

bool GuestScenery::start(world::ChildProcess& process, const QStringList& arguments)
{
    world::Command command;
    command.arguments = arguments;
    return process.start(command).has_value();
}

QString GuestScenery::begin()
{
    world::ChildProcess daemon;
    if (!start(daemon, { "dbus-daemon", "--system", "--fork", "--nopidfile" }) || daemon.wait() != 0) {
        return "the guest's system bus did not start";
    }
    QDBusConnection::connectToBus(BusAddress, "guest");
    qputenv("BLUEZ_SYSTEM_BUS_ADDRESS", BusAddress);
    plugIn();
    startBluetoothd();
    const QString problem = awaitAdapters();
    return problem.isEmpty()
        ? guestbluez::setAdapter(FirstAdapter, { { "Alias", FoundAlias }, { "Powered", false } })
        : problem;
}

void GuestScenery::startBluetoothd()
{
    // The usual variable names the world's private bus once the host runs.
    start(m_bluetoothd,
          { "env", QString("DBUS_SYSTEM_BUS_ADDRESS=") + BusAddress, "/usr/libexec/bluetooth/bluetoothd",
            "-n" });
}

QString GuestScenery::awaitAdapters()
{
    m_second.reset(); // the new one has the same place on the bus
    m_second = std::make_unique<SecondRadio>();
    return QTest::qWaitFor([] { return !SecondRadio::address().isEmpty(); }, Long)
        ? SecondRadio::switchOn()
        : "bluetoothd shows no second adapter";
}

// The emulated controllers pass no data once the other of them makes the connection; new ones do.
void GuestScenery::setCaller(bool second)
{
    if (std::exchange(m_secondCalls, second) != second) {
        plugInAnew();
    }
}

void GuestScenery::plugInAnew()
{
    unplug();
    QVERIFY(QTest::qWaitFor([] { return SecondRadio::address().isEmpty(); }, Long));
    plugIn();
    QCOMPARE(awaitAdapters(), QString());
    QVERIFY(QTest::qWaitFor([] { return adapterProperty("Discoverable").toBool(); }, Long));
}

QString GuestScenery::device(Way way, bool agrees)
{
    if (const std::optional<int> status = m_controllers.wait(std::chrono::milliseconds(0))) {
        qFatal("the emulated controllers have ended with status %d", *status);
    }
    setCaller(false);
    m_second->expect(way, agrees);
    return SecondRadio::address();
}

QString GuestScenery::requestPairing()
{
    setCaller(true);
    m_second->pairWith(adapterProperty("Address").toString());
    return SecondRadio::address();
}

QString GuestScenery::lowEnergyDevice(const QString& capability)
{
    m_secondCalls = false;
    plugInAnew(); // bluetoothd prefers what it remembers of the classic one
    m_second->advertise(capability);
    return SecondRadio::address();
}

bool GuestScenery::block(bool blocked)
{
    rfkill_event event{};
    event.op = RFKILL_OP_CHANGE_ALL;
    event.type = RFKILL_TYPE_BLUETOOTH;
    event.soft = blocked ? 1 : 0;
    QFile file("/dev/rfkill");
    constexpr qint64 Size = RFKILL_EVENT_SIZE_V1;
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        && file.write(reinterpret_cast<const char*>(&event), Size) == Size;
}

#include "GuestScenery.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QFile>
#include <QtTest>

#include <linux/rfkill.h>

#include <csignal>
#include <utility>

namespace {

const QString FirstAdapter = QStringLiteral("/org/bluez/hci0");
const QString AdapterInterface = QStringLiteral("org.bluez.Adapter1");
constexpr const char* BusAddress = "unix:path=/run/dbus/system_bus_socket";

world::Command command(const QStringList& arguments)
{
    world::Command command;
    command.arguments = arguments;
    return command;
}

QDBusConnection bus()
{
    return QDBusConnection(QStringLiteral("guest"));
}

} // namespace

QString GuestScenery::begin()
{
    world::ChildProcess daemon;
    if (!daemon.start(command({ QStringLiteral("dbus-daemon"), QStringLiteral("--system"),
                                QStringLiteral("--fork"), QStringLiteral("--nopidfile") }))
        || daemon.wait() != 0) {
        return QStringLiteral("the guest's system bus did not start");
    }
    QDBusConnection::connectToBus(QString::fromLatin1(BusAddress), QStringLiteral("guest"));
    qputenv("BLUEZ_SYSTEM_BUS_ADDRESS", BusAddress);
    plugIn();
    startBluetoothd();
    const QString problem = awaitAdapters();
    return problem.isEmpty() ? leaveAsFound() : problem;
}

QString GuestScenery::leaveAsFound()
{
    const QList<QPair<QString, QVariant>> settings{ { QStringLiteral("Alias"), foundAlias() },
                                                    { QStringLiteral("Powered"), false } };
    for (const auto& [name, value] : settings) {
        QDBusMessage set = QDBusMessage::createMethodCall(QStringLiteral("org.bluez"), FirstAdapter,
                                                          QStringLiteral("org.freedesktop.DBus.Properties"),
                                                          QStringLiteral("Set"));
        set.setArguments({ AdapterInterface, name, QVariant::fromValue(QDBusVariant(value)) });
        const QDBusMessage reply = bus().call(set);
        if (reply.type() == QDBusMessage::ErrorMessage) {
            return name + QStringLiteral(": ") + reply.errorMessage();
        }
    }
    return {};
}

void GuestScenery::plugIn()
{
    static_cast<void>(m_controllers.start(command({ QStringLiteral("btvirt"), QStringLiteral("-l2") })));
}

void GuestScenery::unplug()
{
    m_controllers.end();
}

void GuestScenery::startBluetoothd()
{
    // The usual variable names the world's private bus once the host runs.
    const QString bus = QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS=") + QString::fromLatin1(BusAddress);
    static_cast<void>(m_bluetoothd.start(
        command({ QStringLiteral("env"), bus, QStringLiteral("/usr/libexec/bluetooth/bluetoothd"),
                  QStringLiteral("-n") })));
}

void GuestScenery::killBluetoothd()
{
    m_bluetoothd.signal(SIGKILL);
    m_bluetoothd.wait();
}

QString GuestScenery::awaitAdapters()
{
    m_second.reset(); // the new one has the same place on the bus
    m_second = std::make_unique<SecondRadio>(bus());
    if (!QTest::qWaitFor([this] { return !m_second->address().isEmpty(); }, 60'000)) {
        return QStringLiteral("bluetoothd shows no second adapter");
    }
    return m_second->switchOn();
}

// The emulated controllers pass no data once the other of them makes the connection; new ones do.
void GuestScenery::setCaller(bool second)
{
    if (std::exchange(m_secondCalls, second) == second) {
        return;
    }
    plugInAnew();
}

void GuestScenery::plugInAnew()
{
    unplug();
    QVERIFY(QTest::qWaitFor([this] { return m_second->address().isEmpty(); }, 60'000));
    plugIn();
    QCOMPARE(awaitAdapters(), QString());
    QVERIFY(
        QTest::qWaitFor([this] { return adapterProperty(QStringLiteral("Discoverable")).toBool(); }, 60'000));
}

QString GuestScenery::device(Way way, bool agrees)
{
    if (const std::optional<int> status = m_controllers.wait(std::chrono::milliseconds(0))) {
        qFatal("the emulated controllers have ended with status %d", *status);
    }
    setCaller(false);
    m_second->expect(way, agrees);
    return m_second->address();
}

void GuestScenery::dropLink()
{
    m_second->dropLink();
}

QString GuestScenery::requestPairing()
{
    setCaller(true);
    m_second->pairWith(adapterProperty(QStringLiteral("Address")).toString());
    return m_second->address();
}

void GuestScenery::takeBackRequest()
{
    m_second->giveUpPairing(adapterProperty(QStringLiteral("Address")).toString());
}

QString GuestScenery::lowEnergyDevice(const QString& capability)
{
    m_secondCalls = false;
    plugInAnew(); // bluetoothd prefers what it remembers of the classic one
    m_second->advertise(capability);
    return m_second->address();
}

void GuestScenery::forgetUs()
{
    m_second->forgetDevices();
}

QVariant GuestScenery::adapterProperty(const QString& name) const
{
    return SecondRadio::property(bus(), FirstAdapter, AdapterInterface, name);
}

bool GuestScenery::block(bool blocked)
{
    rfkill_event event{};
    event.op = RFKILL_OP_CHANGE_ALL;
    event.type = RFKILL_TYPE_BLUETOOTH;
    event.soft = blocked ? 1 : 0;
    QFile file(QStringLiteral("/dev/rfkill"));
    constexpr qint64 Size = RFKILL_EVENT_SIZE_V1;
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        && file.write(reinterpret_cast<const char*>(&event), Size) == Size;
}

#include "SecondRadio.h"

#include "GuestBluez.h"

#include <QDBusArgument>
#include <QDBusPendingReply>
#include <QProcess>
#include <QtTest>

using namespace guestbluez;

namespace {

const QString Adapter = "/org/bluez/hci1";
const QString DeviceInterface = "org.bluez.Device1";
const QString Advertising = "org.bluez.LEAdvertisingManager1";
const QString Agent = "/second";
const QString AdvertisementPath = "/second/advertisement";
constexpr int Long = 120'000; // ms, for what bluetoothd answers when it is done

void registerAgent(const QString& capability, bool answersForOthers)
{
    const QString interface = "org.bluez.AgentManager1";
    call("/org/bluez", interface, "UnregisterAgent", { object(Agent) });
    call("/org/bluez", interface, "RegisterAgent", { object(Agent), capability });
    if (answersForOthers) {
        call("/org/bluez", interface, "RequestDefaultAgent", { object(Agent) });
    }
}

QString pathOf(const QString& address)
{
    return Adapter + "/dev_" + QString(address).replace(':', '_');
}

QStringList devices()
{
    const QDBusMessage reply = call("/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects");
    QMap<QDBusObjectPath, QMap<QString, QVariantMap>> objects;
    reply.arguments().value(0).value<QDBusArgument>() >> objects;
    QStringList found;
    for (auto object = objects.cbegin(); object != objects.cend(); ++object) {
        if (object.key().path().startsWith(Adapter) && object.value().contains(DeviceInterface)) {
            found << object.key().path();
        }
    }
    return found;
}

} // namespace

SecondRadio::SecondRadio()
{
    bus().registerObject(Agent, this, QDBusConnection::ExportAllSlots);
    bus().registerObject(AdvertisementPath, &m_advertisement,
                         QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
}

SecondRadio::~SecondRadio()
{
    bus().unregisterObject(Agent, QDBusConnection::UnregisterTree);
}

QString SecondRadio::address()
{
    return adapterProperty(Adapter, "Address").toString();
}

QString SecondRadio::switchOn()
{
    return setAdapter(Adapter,
                      { { "Powered", true },
                        { "Alias", "Second" },
                        { "Pairable", true },
                        { "DiscoverableTimeout", 0U },
                        { "Discoverable", true } });
}

void SecondRadio::expect(Way way, bool agrees)
{
    m_agrees = agrees;
    // A controller with simple pairing never asks for a PIN; bluetoothd's own switch for it hangs here.
    QProcess::execute("hcitool",
                      { "-i", "hci1", "cmd", "0x03", "0x0056", way == Way::Pin ? "0x00" : "0x01" });
    registerAgent(way == Way::JustWorks ? "NoInputNoOutput" : "KeyboardDisplay", true);
}

void SecondRadio::pairWith(const QString& address)
{
    m_agrees = true;
    registerAgent("KeyboardDisplay", false);
    const QString path = pathOf(address);
    call(Adapter, AdapterInterface, "StartDiscovery");
    QVERIFY(QTest::qWaitFor([&] { return devices().contains(path); }, 30'000));
    call(Adapter, AdapterInterface, "StopDiscovery");
    bus().asyncCall(guestbluez::message(path, DeviceInterface, "Pair"), Long);
}

void SecondRadio::giveUpPairing(const QString& address)
{
    call(pathOf(address), DeviceInterface, "CancelPairing");
}

void SecondRadio::connectTo(const QString& address, const QString& uuid)
{
    bus().asyncCall(guestbluez::message(pathOf(address), DeviceInterface, "ConnectProfile", { uuid }), Long);
}

void SecondRadio::dropLink()
{
    for (const QString& device : devices()) {
        call(device, DeviceInterface, "Disconnect");
    }
}

void SecondRadio::advertise(const QString& capability)
{
    m_agrees = true;
    m_shownCode.clear();
    registerAgent(capability, true);
    QCOMPARE(setAdapter(Adapter, { { "Discoverable", false } }), QString());
    const QDBusPendingReply<> reply = bus().asyncCall(guestbluez::message(
        Adapter, Advertising, "RegisterAdvertisement", { object(AdvertisementPath), QVariantMap() }));
    QVERIFY(QTest::qWaitFor([&reply] { return reply.isFinished(); }, 60'000)); // it asks us meanwhile
    QVERIFY2(!reply.isError(), qPrintable(reply.error().message()));
}

void SecondRadio::beClassic()
{
    call(Adapter, Advertising, "UnregisterAdvertisement", { object(AdvertisementPath) });
    QCOMPARE(setAdapter(Adapter, { { "Discoverable", true } }), QString());
}

bool SecondRadio::type(const QString& code)
{
    return QTest::qWaitFor([this] { return m_passkeyQuestion.has_value(); }, 60'000)
        && bus().send(m_passkeyQuestion->createReply(code.toUInt()));
}

void SecondRadio::forgetDevices()
{
    for (const QString& device : devices()) {
        call(Adapter, AdapterInterface, "RemoveDevice", { object(device) });
    }
}

#include "SecondRadio.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QProcess>
#include <QtTest>

#include <utility>

namespace {

const QString Adapter = QStringLiteral("/org/bluez/hci1");
const QString AdapterInterface = QStringLiteral("org.bluez.Adapter1");
const QString DeviceInterface = QStringLiteral("org.bluez.Device1");
const QString Properties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString AgentManager = QStringLiteral("org.bluez.AgentManager1");
const QString BluezPath = QStringLiteral("/org/bluez");

QVariant agentPath()
{
    return QVariant::fromValue(QDBusObjectPath(QStringLiteral("/second")));
}

} // namespace

SecondRadio::SecondRadio(QDBusConnection bus)
    : m_bus(std::move(bus))
{
    m_bus.registerObject(QStringLiteral("/second"), this, QDBusConnection::ExportAllSlots);
}

SecondRadio::~SecondRadio()
{
    m_bus.unregisterObject(QStringLiteral("/second"));
}

QDBusMessage SecondRadio::call(const QString& path, const QString& interface, const QString& method,
                               const QVariantList& arguments) const
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QStringLiteral("org.bluez"), path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return m_bus.call(message);
}

QVariant SecondRadio::property(const QDBusConnection& bus, const QString& path, const QString& interface,
                               const QString& name)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QStringLiteral("org.bluez"), path, Properties, QStringLiteral("Get"));
    message.setArguments({ interface, name });
    message.setAutoStartService(false);
    const QDBusMessage reply = bus.call(message);
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

QString SecondRadio::address() const
{
    return property(m_bus, Adapter, AdapterInterface, QStringLiteral("Address")).toString();
}

QString SecondRadio::switchOn()
{
    const QList<QPair<QString, QVariant>> settings{
        { QStringLiteral("Powered"), true },      { QStringLiteral("Alias"), QStringLiteral("Second") },
        { QStringLiteral("Pairable"), true },     { QStringLiteral("DiscoverableTimeout"), 0U },
        { QStringLiteral("Discoverable"), true },
    };
    for (const auto& [name, value] : settings) {
        const QDBusMessage reply = call(Adapter, Properties, QStringLiteral("Set"),
                                        { AdapterInterface, name, QVariant::fromValue(QDBusVariant(value)) });
        if (reply.type() == QDBusMessage::ErrorMessage) {
            return name + QStringLiteral(": ") + reply.errorMessage();
        }
    }
    return {};
}

void SecondRadio::registerAgent(const QString& capability, bool answersForOthers)
{
    unregisterAgent();
    call(BluezPath, AgentManager, QStringLiteral("RegisterAgent"), { agentPath(), capability });
    if (answersForOthers) {
        call(BluezPath, AgentManager, QStringLiteral("RequestDefaultAgent"), { agentPath() });
    }
}

void SecondRadio::unregisterAgent()
{
    call(BluezPath, AgentManager, QStringLiteral("UnregisterAgent"), { agentPath() });
}

void SecondRadio::expect(Way way, bool agrees)
{
    m_agrees = agrees;
    // A controller with simple pairing never asks for a PIN; bluetoothd's own switch for it hangs here.
    QProcess::execute(QStringLiteral("hcitool"),
                      { QStringLiteral("-i"), QStringLiteral("hci1"), QStringLiteral("cmd"),
                        QStringLiteral("0x03"), QStringLiteral("0x0056"),
                        way == Way::Pin ? QStringLiteral("0x00") : QStringLiteral("0x01") });
    registerAgent(
        way == Way::JustWorks ? QStringLiteral("NoInputNoOutput") : QStringLiteral("KeyboardDisplay"), true);
}

QStringList SecondRadio::devices() const
{
    const QDBusMessage reply = call(QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.ObjectManager"),
                                    QStringLiteral("GetManagedObjects"));
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

void SecondRadio::pairWith(const QString& address)
{
    m_agrees = true;
    registerAgent(QStringLiteral("KeyboardDisplay"), false);
    const QString path =
        Adapter + QStringLiteral("/dev_") + QString(address).replace(QLatin1Char(':'), QLatin1Char('_'));
    call(Adapter, AdapterInterface, QStringLiteral("StartDiscovery"));
    QVERIFY(QTest::qWaitFor([&] { return devices().contains(path); }, 30'000));
    call(Adapter, AdapterInterface, QStringLiteral("StopDiscovery"));
    m_bus.asyncCall(QDBusMessage::createMethodCall(QStringLiteral("org.bluez"), path, DeviceInterface,
                                                   QStringLiteral("Pair")),
                    120'000);
}

void SecondRadio::dropLink()
{
    for (const QString& device : devices()) {
        call(device, DeviceInterface, QStringLiteral("Disconnect"));
    }
}

void SecondRadio::forgetDevices()
{
    for (const QString& device : devices()) {
        call(Adapter, AdapterInterface, QStringLiteral("RemoveDevice"),
             { QVariant::fromValue(QDBusObjectPath(device)) });
    }
}

QString SecondRadio::RequestPinCode(const QDBusObjectPath& /*device*/)
{
    refuseUnlessAgreed();
    return Scenery::pin();
}

uint SecondRadio::RequestPasskey(const QDBusObjectPath& /*device*/)
{
    refuseUnlessAgreed();
    return 0;
}

void SecondRadio::RequestConfirmation(const QDBusObjectPath& /*device*/, uint /*passkey*/)
{
    refuseUnlessAgreed();
}

void SecondRadio::RequestAuthorization(const QDBusObjectPath& /*device*/)
{
    refuseUnlessAgreed();
}

void SecondRadio::refuseUnlessAgreed()
{
    if (!m_agrees) {
        sendErrorReply(QStringLiteral("org.bluez.Error.Rejected"), QStringLiteral("no"));
    }
}

#include "SecondRadio.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingReply>
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

const QString Advertising = QStringLiteral("org.bluez.LEAdvertisingManager1");

QDBusMessage callOf(const QString& path, const QString& interface, const QString& method,
                    const QVariantList& arguments)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QStringLiteral("org.bluez"), path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

QVariant agentPath()
{
    return QVariant::fromValue(QDBusObjectPath(QStringLiteral("/second")));
}

QString advertisementPath()
{
    return QStringLiteral("/second/advertisement");
}

} // namespace

SecondRadio::SecondRadio(QDBusConnection bus)
    : m_bus(std::move(bus))
{
    m_bus.registerObject(QStringLiteral("/second"), this, QDBusConnection::ExportAllSlots);
    m_bus.registerObject(advertisementPath(), &m_advertisement,
                         QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
}

SecondRadio::~SecondRadio()
{
    m_bus.unregisterObject(QStringLiteral("/second"), QDBusConnection::UnregisterTree);
}

QDBusMessage SecondRadio::call(const QString& path, const QString& interface, const QString& method,
                               const QVariantList& arguments) const
{
    return m_bus.call(callOf(path, interface, method, arguments));
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
    for (const auto& [name, value] :
         QList<QPair<QString, QVariant>>{ { QStringLiteral("Powered"), true },
                                          { QStringLiteral("Alias"), QStringLiteral("Second") },
                                          { QStringLiteral("Pairable"), true },
                                          { QStringLiteral("DiscoverableTimeout"), 0U },
                                          { QStringLiteral("Discoverable"), true } }) {
        if (QString problem = set(name, value); !problem.isEmpty()) {
            return problem;
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
    const QString path = pathOf(address);
    call(Adapter, AdapterInterface, QStringLiteral("StartDiscovery"));
    QVERIFY(QTest::qWaitFor([&] { return devices().contains(path); }, 30'000));
    call(Adapter, AdapterInterface, QStringLiteral("StopDiscovery"));
    m_bus.asyncCall(QDBusMessage::createMethodCall(QStringLiteral("org.bluez"), path, DeviceInterface,
                                                   QStringLiteral("Pair")),
                    120'000);
}

QString SecondRadio::pathOf(const QString& address)
{
    return Adapter + QStringLiteral("/dev_") + QString(address).replace(QLatin1Char(':'), QLatin1Char('_'));
}

void SecondRadio::giveUpPairing(const QString& address)
{
    call(pathOf(address), DeviceInterface, QStringLiteral("CancelPairing"));
}

QString SecondRadio::set(const QString& property, const QVariant& value) const
{
    const QDBusMessage reply = call(Adapter, Properties, QStringLiteral("Set"),
                                    { AdapterInterface, property, QVariant::fromValue(QDBusVariant(value)) });
    return reply.type() == QDBusMessage::ErrorMessage ? property + QStringLiteral(": ") + reply.errorMessage()
                                                      : QString();
}

void SecondRadio::advertise(const QString& capability)
{
    m_agrees = true;
    m_shownCode.clear();
    registerAgent(capability, true);
    QCOMPARE(set(QStringLiteral("Discoverable"), false), QString());
    const QDBusPendingReply<> reply =
        m_bus.asyncCall(callOf(Adapter, Advertising, QStringLiteral("RegisterAdvertisement"),
                               { QVariant::fromValue(QDBusObjectPath(advertisementPath())), QVariantMap() }));
    QVERIFY(QTest::qWaitFor([&reply] { return reply.isFinished(); }, 60'000)); // it asks us meanwhile
    QVERIFY2(!reply.isError(), qPrintable(reply.error().message()));
}

void SecondRadio::beClassic()
{
    call(Adapter, Advertising, QStringLiteral("UnregisterAdvertisement"),
         { QVariant::fromValue(QDBusObjectPath(advertisementPath())) });
    QCOMPARE(set(QStringLiteral("Discoverable"), true), QString());
}

bool SecondRadio::type(const QString& code)
{
    if (!QTest::qWaitFor([this] { return m_passkeyQuestion.has_value(); }, 60'000)) {
        return false;
    }
    return m_bus.send(m_passkeyQuestion->createReply(code.toUInt()));
}

void SecondRadio::DisplayPasskey(const QDBusObjectPath& /*device*/, uint passkey, ushort /*entered*/)
{
    m_shownCode = QStringLiteral("%1").arg(passkey, 6, 10, QLatin1Char('0'));
}

void SecondRadio::connectTo(const QString& address, const QString& uuid)
{
    m_bus.asyncCall(callOf(pathOf(address), DeviceInterface, QStringLiteral("ConnectProfile"), { uuid }),
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
    setDelayedReply(true);
    m_passkeyQuestion = message();
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

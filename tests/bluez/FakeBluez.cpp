#include "FakeBluez.h"

#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusVariant>

namespace {

const QString Prefix = "org.bluez.";
const QString AdapterInterface = "org.bluez.Adapter1";
const QString DeviceInterface = "org.bluez.Device1";
const QString ObjectManager = "org.freedesktop.DBus.ObjectManager";
const QString PropertiesInterface = "org.freedesktop.DBus.Properties";

} // namespace

FakeBluez::FakeBluez(const QString& busAddress)
    : m_address(busAddress)
    , m_bus(QDBusConnection::connectToBus(busAddress, "bluez"))
{
    qDBusRegisterMetaType<BluezInterfaces>();
    qDBusRegisterMetaType<QMap<QDBusObjectPath, BluezInterfaces>>();
    m_bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
}

FakeBluez::~FakeBluez()
{
    m_bus.unregisterObject("/");
    m_bus.unregisterService("org.bluez");
    QDBusConnection::disconnectFromBus("bluez");
}

void FakeBluez::appear()
{
    m_objects.insert(QDBusObjectPath("/org/bluez"),
                     { { "org.bluez.AgentManager1", {} }, { "org.bluez.ProfileManager1", {} } });
    m_bus.registerService("org.bluez");
}

void FakeBluez::vanish()
{
    m_bus.unregisterService("org.bluez");
    m_objects.clear();
}

void FakeBluez::addAdapter(const QString& path, const QVariantMap& properties)
{
    QVariantMap all{ { "Address", "00:AA:01:00:00:42" },
                     { "Name", "machine" },
                     { "Alias", "machine" },
                     { "Powered", false },
                     { "Pairable", false },
                     { "PairableTimeout", 60U },
                     { "Discoverable", false },
                     { "Discovering", false },
                     { "DiscoverableTimeout", 180U } };
    all.insert(properties);
    m_objects.insert(QDBusObjectPath(path), { { AdapterInterface, all } });
    announce(path);
}

QString FakeBluez::addDevice(const QString& adapter, const QString& address, const QVariantMap& properties)
{
    QString path = adapter + "/dev_" + QString(address).replace(':', '_');
    QVariantMap all = properties;
    all.insert("Address", address);
    all.insert("Adapter", QVariant::fromValue(QDBusObjectPath(adapter)));
    m_objects.insert(QDBusObjectPath(path), { { DeviceInterface, all } });
    announce(path);
    return path;
}

QString FakeBluez::addTransport(const QString& device)
{
    const QString path = device + "/fd0";
    m_objects.insert(QDBusObjectPath(path),
                     { { "org.bluez.MediaTransport1",
                         { { "Device", QVariant::fromValue(QDBusObjectPath(device)) },
                           { "State", "idle" },
                           { "UUID", "0000110a-0000-1000-8000-00805f9b34fb" } } } });
    announce(path);
    return path;
}

void FakeBluez::announce(const QString& path)
{
    QDBusMessage signal = QDBusMessage::createSignal("/", ObjectManager, "InterfacesAdded");
    const QDBusObjectPath object(path);
    signal.setArguments({ QVariant::fromValue(object), QVariant::fromValue(m_objects.value(object)) });
    m_bus.send(signal);
}

void FakeBluez::remove(const QString& path)
{
    const QDBusObjectPath object(path);
    QDBusMessage signal = QDBusMessage::createSignal("/", ObjectManager, "InterfacesRemoved");
    signal.setArguments({ QVariant::fromValue(object), QStringList(m_objects.value(object).keys()) });
    m_objects.remove(object);
    m_bus.send(signal);
}

void FakeBluez::change(const QString& path, const QString& interface, const QVariantMap& properties)
{
    m_objects[QDBusObjectPath(path)][Prefix + interface].insert(properties);
    QDBusMessage signal = QDBusMessage::createSignal(path, PropertiesInterface, "PropertiesChanged");
    signal.setArguments({ Prefix + interface, properties, QStringList() });
    m_bus.send(signal);
}

QVariant FakeBluez::property(const QString& path, const QString& name) const
{
    for (const QVariantMap& properties : m_objects.value(QDBusObjectPath(path))) {
        if (properties.contains(name)) {
            return properties.value(name);
        }
    }
    return {};
}

bool FakeBluez::called(const QStringList& inOrder) const
{
    int next = 0;
    for (const QString& call : m_calls) {
        if (next < inOrder.size() && call == inOrder.at(next)) {
            ++next;
        }
    }
    return next == inOrder.size();
}

QDBusPendingCall FakeBluez::callBack(const QString& interface, const QString& method,
                                     const QVariantList& arguments)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(m_radio, m_registered.value(interface), Prefix + interface, method);
    call.setArguments(arguments);
    return m_bus.asyncCall(call);
}

QString FakeBluez::nameOf(const QDBusMessage& message) const
{
    if (message.interface() == PropertiesInterface && message.member() == "Set") {
        return "Set " + message.arguments().at(1).toString();
    }
    const QString interface = message.interface();
    return interface.mid(interface.lastIndexOf('.') + 1) + '.' + message.member();
}

void FakeBluez::setProperty(const QDBusMessage& message)
{
    const QString interface = message.arguments().at(0).toString().mid(Prefix.size());
    const QString name = message.arguments().at(1).toString();
    const QVariant value = message.arguments().at(2).value<QDBusVariant>().variant();
    if (property(message.path(), name) != value) {
        change(message.path(), interface, { { name, value } });
    }
}

QVariantList FakeBluez::valuesFor(const QDBusMessage& message)
{
    const BluezInterfaces interfaces = m_objects.value(QDBusObjectPath(message.path()));
    if (message.member() == "GetManagedObjects") {
        return { QVariant::fromValue(m_objects) };
    }
    if (message.member() == "GetAll") {
        return { interfaces.value(message.arguments().at(0).toString()) };
    }
    if (message.member() == "Set") {
        setProperty(message);
    } else if (message.member().startsWith("Register")) {
        m_radio = message.service();
        const bool agent = message.member() == "RegisterAgent";
        m_registered.insert(agent ? "Agent1" : "Profile1",
                            message.arguments().at(0).value<QDBusObjectPath>().path());
    }
    return {};
}

bool FakeBluez::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    const QString name = nameOf(message);
    const bool sets = name.startsWith("Set ");
    m_calls << (sets ? name + '=' + message.arguments().at(2).value<QDBusVariant>().variant().toString()
                     : name);
    if (m_errors.contains(name) && m_errors.value(name).isEmpty()) {
        m_waiting.insert(name, message);
    } else {
        connection.send(replyTo(message, m_errors.value(name)));
    }
    return true;
}

QDBusMessage FakeBluez::replyTo(const QDBusMessage& message, const QString& error, const QString& text)
{
    return error.isEmpty()
        ? message.createReply(valuesFor(message))
        : message.createErrorReply(error.contains('.') ? error : "org.bluez.Error." + error, text);
}

void FakeBluez::answerAfterAll(const QString& method, const QString& error, const QString& text)
{
    m_errors.remove(method);
    for (const QDBusMessage& message : m_waiting.values(method)) {
        m_bus.send(replyTo(message, error, text));
    }
    m_waiting.remove(method);
}

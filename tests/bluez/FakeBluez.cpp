#include "FakeBluez.h"

#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusVariant>

namespace {

const QString Prefix = QStringLiteral("org.bluez.");
const QString AdapterInterface = QStringLiteral("org.bluez.Adapter1");
const QString DeviceInterface = QStringLiteral("org.bluez.Device1");
const QString ObjectManager = QStringLiteral("org.freedesktop.DBus.ObjectManager");
const QString PropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

} // namespace

FakeBluez::FakeBluez(const QString& busAddress)
    : m_bus(QDBusConnection::connectToBus(busAddress, QStringLiteral("bluez")))
{
    qDBusRegisterMetaType<BluezInterfaces>();
    qDBusRegisterMetaType<QMap<QDBusObjectPath, BluezInterfaces>>();
    m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
}

FakeBluez::~FakeBluez()
{
    m_bus.unregisterObject(QStringLiteral("/"));
    m_bus.unregisterService(QStringLiteral("org.bluez"));
    QDBusConnection::disconnectFromBus(QStringLiteral("bluez"));
}

void FakeBluez::appear()
{
    m_objects.insert(QDBusObjectPath(QStringLiteral("/org/bluez")),
                     { { QStringLiteral("org.bluez.AgentManager1"), {} },
                       { QStringLiteral("org.bluez.ProfileManager1"), {} } });
    m_bus.registerService(QStringLiteral("org.bluez"));
}

void FakeBluez::vanish()
{
    m_bus.unregisterService(QStringLiteral("org.bluez"));
    m_objects.clear();
}

void FakeBluez::addAdapter(const QString& path, const QVariantMap& properties)
{
    QVariantMap all{ { QStringLiteral("Address"), QStringLiteral("00:AA:01:00:00:42") },
                     { QStringLiteral("Name"), QStringLiteral("machine") },
                     { QStringLiteral("Alias"), QStringLiteral("machine") },
                     { QStringLiteral("Powered"), false },
                     { QStringLiteral("Pairable"), false },
                     { QStringLiteral("Discoverable"), false },
                     { QStringLiteral("DiscoverableTimeout"), 180U } };
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        all.insert(property.key(), property.value());
    }
    m_objects.insert(QDBusObjectPath(path), { { AdapterInterface, all } });
    announce(path);
}

QString FakeBluez::addDevice(const QString& adapter, const QString& address, const QVariantMap& properties)
{
    QString path =
        adapter + QStringLiteral("/dev_") + QString(address).replace(QLatin1Char(':'), QLatin1Char('_'));
    QVariantMap all = properties;
    all.insert(QStringLiteral("Address"), address);
    all.insert(QStringLiteral("Adapter"), QVariant::fromValue(QDBusObjectPath(adapter)));
    m_objects.insert(QDBusObjectPath(path), { { DeviceInterface, all } });
    announce(path);
    return path;
}

void FakeBluez::announce(const QString& path)
{
    QDBusMessage signal =
        QDBusMessage::createSignal(QStringLiteral("/"), ObjectManager, QStringLiteral("InterfacesAdded"));
    const QDBusObjectPath object(path);
    signal.setArguments({ QVariant::fromValue(object), QVariant::fromValue(m_objects.value(object)) });
    m_bus.send(signal);
}

void FakeBluez::remove(const QString& path)
{
    const QDBusObjectPath object(path);
    QDBusMessage signal =
        QDBusMessage::createSignal(QStringLiteral("/"), ObjectManager, QStringLiteral("InterfacesRemoved"));
    signal.setArguments({ QVariant::fromValue(object), QStringList(m_objects.value(object).keys()) });
    m_objects.remove(object);
    m_bus.send(signal);
}

void FakeBluez::change(const QString& path, const QString& interface, const QVariantMap& properties)
{
    QVariantMap& all = m_objects[QDBusObjectPath(path)][Prefix + interface];
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        all.insert(property.key(), property.value());
    }
    QDBusMessage signal =
        QDBusMessage::createSignal(path, PropertiesInterface, QStringLiteral("PropertiesChanged"));
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
    if (message.interface() == PropertiesInterface && message.member() == QLatin1String("Set")) {
        return QStringLiteral("Set ") + message.arguments().at(1).toString();
    }
    const QString interface = message.interface();
    return interface.mid(interface.lastIndexOf(QLatin1Char('.')) + 1) + QLatin1Char('.') + message.member();
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
    if (message.member() == QLatin1String("GetManagedObjects")) {
        return { QVariant::fromValue(m_objects) };
    }
    if (message.member() == QLatin1String("GetAll")) {
        return { interfaces.value(message.arguments().at(0).toString()) };
    }
    if (message.member() == QLatin1String("Set")) {
        setProperty(message);
    } else if (message.member().startsWith(QLatin1String("Register"))) {
        m_radio = message.service();
        const bool agent = message.member() == QLatin1String("RegisterAgent");
        m_registered.insert(agent ? QStringLiteral("Agent1") : QStringLiteral("Profile1"),
                            message.arguments().at(0).value<QDBusObjectPath>().path());
    }
    return {};
}

bool FakeBluez::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    const QString name = nameOf(message);
    const bool sets = name.startsWith(QLatin1String("Set "));
    m_calls << (sets ? name + QLatin1Char('=')
                        + message.arguments().at(2).value<QDBusVariant>().variant().toString()
                     : name);
    if (m_errors.contains(name) && m_errors.value(name).isEmpty()) {
        m_waiting.insert(name, message);
    } else {
        connection.send(replyTo(message, m_errors.value(name)));
    }
    return true;
}

QDBusMessage FakeBluez::replyTo(const QDBusMessage& message, const QString& error)
{
    return error.isEmpty() ? message.createReply(valuesFor(message))
                           : message.createErrorReply(QStringLiteral("org.bluez.Error.") + error,
                                                      QStringLiteral("as the test told"));
}

void FakeBluez::answerAfterAll(const QString& method, const QString& error)
{
    m_errors.remove(method);
    for (const QDBusMessage& message : m_waiting.values(method)) {
        m_bus.send(replyTo(message, error));
    }
    m_waiting.remove(method);
}

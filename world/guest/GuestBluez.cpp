#include "GuestBluez.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QEventLoop>
#include <QTimer>

namespace guestbluez {

namespace {

const QString Service = QStringLiteral("org.bluez");
const QString Properties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString ObjectManager = QStringLiteral("org.freedesktop.DBus.ObjectManager");

} // namespace

QDBusMessage message(const QString& path, const QString& interface, const QString& method,
                     const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(Service, path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                  const QVariantList& arguments)
{
    return bus().call(message(path, interface, method, arguments));
}

base::Result<> attempt(const QString& what, const QDBusMessage& request)
{
    const QDBusMessage reply = bus().call(request);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return base::error(QStringLiteral("%1: %2 (%3)").arg(what, reply.errorMessage(), reply.errorName()));
    }
    return {};
}

QVariant adapterProperty(const QString& adapter, const QString& name)
{
    const QDBusMessage reply =
        call(adapter, Properties, QStringLiteral("Get"), { QString(AdapterInterface), name });
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

base::Result<> setAdapter(const QString& adapter, const QList<QPair<QString, QVariant>>& properties)
{
    for (const auto& [name, value] : properties) {
        auto done =
            attempt(name,
                    message(adapter, Properties, QStringLiteral("Set"),
                            { QString(AdapterInterface), name, QVariant::fromValue(QDBusVariant(value)) }));
        if (!done) {
            return done;
        }
    }
    return {};
}

QMap<QString, QVariantMap> devices(const QString& adapter)
{
    const QDBusMessage reply = call(QStringLiteral("/"), ObjectManager, QStringLiteral("GetManagedObjects"));
    QMap<QDBusObjectPath, QMap<QString, QVariantMap>> objects;
    reply.arguments().value(0).value<QDBusArgument>() >> objects;
    QMap<QString, QVariantMap> found;
    for (auto object = objects.cbegin(); object != objects.cend(); ++object) {
        if (object.key().path().startsWith(adapter + QLatin1Char('/'))
            && object.value().contains(DeviceInterface)) {
            found.insert(object.key().path(), object.value().value(DeviceInterface));
        }
    }
    return found;
}

Changes::Changes()
{
    const auto listen = [this](const QString& interface, const char* signal) {
        bus().connect(Service, QString(), interface, QLatin1String(signal), this, SLOT(notice()));
    };
    listen(ObjectManager, "InterfacesAdded");
    listen(ObjectManager, "InterfacesRemoved");
    listen(Properties, "PropertiesChanged");
}

bool Changes::await(const std::function<bool()>& holds, int limit) const
{
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.start(limit);
    QEventLoop loop;
    QObject::connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(this, &Changes::changed, &loop, &QEventLoop::quit);
    while (!holds()) {
        if (!deadline.isActive()) {
            return false;
        }
        loop.exec();
    }
    return true;
}

} // namespace guestbluez

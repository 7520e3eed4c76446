#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

/// The guest's bluetoothd, on the connection "guest" to the guest's own bus.
namespace guestbluez {

inline const char* const AdapterInterface = "org.bluez.Adapter1";
inline const char* const Properties = "org.freedesktop.DBus.Properties";

inline QDBusConnection bus()
{
    return QDBusConnection("guest");
}

inline QDBusMessage message(const QString& path, const QString& interface, const QString& method,
                            const QVariantList& arguments = {})
{
    QDBusMessage message = QDBusMessage::createMethodCall("org.bluez", path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

inline QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                         const QVariantList& arguments = {})
{
    return bus().call(message(path, interface, method, arguments));
}

inline QVariant adapterProperty(const QString& adapter, const QString& name)
{
    const QDBusMessage reply = call(adapter, Properties, "Get", { AdapterInterface, name });
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

/// @return what went wrong with the first that could not be set; empty when all were.
inline QString setAdapter(const QString& adapter, const QList<QPair<QString, QVariant>>& properties)
{
    for (const auto& [name, value] : properties) {
        const QDBusMessage reply = call(adapter, Properties, "Set",
                                        { AdapterInterface, name, QVariant::fromValue(QDBusVariant(value)) });
        if (reply.type() == QDBusMessage::ErrorMessage) {
            return name + ": " + reply.errorMessage();
        }
    }
    return {};
}

inline QVariant object(const QString& path)
{
    return QVariant::fromValue(QDBusObjectPath(path));
}

} // namespace guestbluez

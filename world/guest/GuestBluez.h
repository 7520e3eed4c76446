#pragma once

#include "Result.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>
#include <QVariant>

#include <functional>

/// The emulated machine's bluetoothd, on the connection "guest" to that machine's own bus.
namespace guestbluez {

inline const char* const AdapterInterface = "org.bluez.Adapter1";
inline const char* const DeviceInterface = "org.bluez.Device1";

inline const char* const Connection = "guest";

inline QDBusConnection bus()
{
    return QDBusConnection(QLatin1String(Connection));
}

[[nodiscard]] QDBusMessage message(const QString& path, const QString& interface, const QString& method,
                                   const QVariantList& arguments = {});
QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                  const QVariantList& arguments = {});
/// As call(), with the reason of a failure, which begins with \a what.
base::Result<> attempt(const QString& what, const QDBusMessage& request);

[[nodiscard]] QVariant adapterProperty(const QString& adapter, const QString& name);
[[nodiscard]] base::Result<> setAdapter(const QString& adapter,
                                        const QList<QPair<QString, QVariant>>& properties);
/// The devices that an adapter knows, with their properties.
[[nodiscard]] QMap<QString, QVariantMap> devices(const QString& adapter);

inline QVariant object(const QString& path)
{
    return QVariant::fromValue(QDBusObjectPath(path));
}

/// Waits until a condition holds, which is looked at whenever bluetoothd tells something.
class Changes : public QObject
{
    Q_OBJECT

public:
    Changes();
    /// @param limit in milliseconds
    [[nodiscard]] bool await(const std::function<bool()>& holds, int limit) const;

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void notice() { Q_EMIT changed(); }
};

} // namespace guestbluez

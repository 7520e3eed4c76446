#pragma once

#include <QDBusError>
#include <QDBusPendingCall>
#include <QVariantList>

#include <chrono>
#include <functional>

class QObject;

namespace bt {

/// A method call to bluetoothd, on the system bus.
struct BluezCall
{
    QString path;
    QString interface;
    QString method;
    QVariantList arguments;
    /// How long the answer may take. Pairing waits for two people, D-Bus's usual 25 s would end it early.
    std::chrono::milliseconds limit{ 25'000 };
};

/// What bluetoothd answered; not valid when it did what was asked.
using BluezAnswer = std::function<void(const QDBusError&)>;

QDBusPendingCall sendToBluez(const BluezCall& call);
/// \a answer is called once, unless \a context is deleted before.
void askBluez(const BluezCall& call, QObject* context, BluezAnswer answer);

/// When it fails, a person is told, about \a what.
void tellBluez(const BluezCall& call, const QString& what);

/// Sets a property; \a interface is that of the object.
BluezCall settingOf(const QString& path, const QString& interface, const QString& property,
                    const QVariant& value);

/// Tells a person what was tried and what bluetoothd said; clients that do not wait for replies leave no
/// other trace.
void tellFailure(const QString& what, const QDBusError& error);

/// Whether an error of org.bluez.Error has this last part.
bool isBluezError(const QDBusError& error, const char* name);

inline const QString AdapterInterface = QStringLiteral("org.bluez.Adapter1");
inline const QString DeviceInterface = QStringLiteral("org.bluez.Device1");

} // namespace bt

#include "BluezCall.h"

#include "BluezBus.h"
#include "Notice.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <utility>

namespace bt {

QDBusPendingCall sendToBluez(const BluezCall& call)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QStringLiteral("org.bluez"), call.path, call.interface, call.method);
    message.setArguments(call.arguments);
    message.setAutoStartService(false);
    return BluezBus::connection().asyncCall(message, static_cast<int>(call.limit.count()));
}

void askBluez(const BluezCall& call, QObject* context, BluezAnswer answer)
{
    auto* watcher = new QDBusPendingCallWatcher(sendToBluez(call), context);
    const auto pass = [watcher, answer = std::move(answer)] {
        watcher->deleteLater();
        answer(watcher->error());
    };
    // Queued as BluezQt queues the changes of properties: what bluetoothd told before its answer comes first.
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, pass, Qt::QueuedConnection);
}

void tellBluez(const BluezCall& call, const QString& what)
{
    askBluez(call, QCoreApplication::instance(), [what](const QDBusError& error) {
        if (error.isValid()) {
            tellFailure(what, error);
        }
    });
}

BluezCall settingOf(const QString& path, const QString& interface, const QString& property,
                    const QVariant& value)
{
    return { path,
             QStringLiteral("org.freedesktop.DBus.Properties"),
             QStringLiteral("Set"),
             { interface, property, QVariant::fromValue(QDBusVariant(value)) } };
}

void tellFailure(const QString& what, const QDBusError& error)
{
    notice(QStringLiteral("%1 failed: %2 (%3)").arg(what, error.message(), error.name()));
}

bool isBluezError(const QDBusError& error, const char* name)
{
    return error.name() == QLatin1String("org.bluez.Error.") + QLatin1String(name);
}

} // namespace bt

#include "BusLoss.h"

namespace base {

BusLoss::BusLoss(const QDBusConnection& bus, QObject* parent)
    : QObject(parent)
{
    // The client library sends this signal to itself.
    QDBusConnection(bus).connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                                 QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                                 this, SIGNAL(lost()));
}

} // namespace base

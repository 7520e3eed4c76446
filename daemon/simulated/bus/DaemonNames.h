#pragma once

#include <QString>

namespace bt {

/// Where clients find the daemon on the system bus; its interface has the name of the service.
inline QString daemonService()
{
    return QStringLiteral("com.qarn.bluetooth");
}
inline QString daemonPath()
{
    return QStringLiteral("/com/qarn/Bluetooth");
}
inline QString propertiesInterface()
{
    return QStringLiteral("org.freedesktop.DBus.Properties");
}

} // namespace bt

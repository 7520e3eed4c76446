#pragma once

#include <QString>

namespace bt {

/// Where a running simulation is driven from, on the system bus; control/tov.sim.Radio1.xml describes it.
inline QString controlService()
{
    return QStringLiteral("tov.sim.Bluetooth");
}
inline QString controlPath()
{
    return QStringLiteral("/tov/sim/Radio");
}
/// The beginning of the names of its errors.
inline QString controlError(const char* name)
{
    return QStringLiteral("tov.sim.Error.") + QLatin1String(name);
}

} // namespace bt

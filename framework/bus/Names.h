#pragma once

#include <QLatin1String>

/// What servers and clients call each other by.
namespace ipc::names {

inline const QLatin1String BusNamePrefix{ "tov.base." };
inline const QLatin1String ObjectPath{ "/tov/base/Items" };
inline const QLatin1String Interface{ "tov.base.Items" };

inline const QLatin1String ErrorPrefix{ "tov.base.Error." };
inline const QLatin1String NoSuchItem{ "tov.base.Error.NoSuchItem" };
inline const QLatin1String LimitExceeded{ "tov.base.Error.LimitExceeded" };
inline const QLatin1String AmbiguousItem{ "tov.base.Error.AmbiguousItem" };

} // namespace ipc::names

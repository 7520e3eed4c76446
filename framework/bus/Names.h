#pragma once

#include <QLatin1String>

/// What servers and clients call each other by.
namespace ipc::names {

constexpr QLatin1String BusNamePrefix{ "tov.base." };
constexpr QLatin1String ObjectPath{ "/tov/base/Items" };
constexpr QLatin1String Interface{ "tov.base.Items" };

constexpr QLatin1String ErrorPrefix{ "tov.base.Error." };
constexpr QLatin1String NoSuchItem{ "tov.base.Error.NoSuchItem" };
constexpr QLatin1String AmbiguousItem{ "tov.base.Error.AmbiguousItem" };

} // namespace ipc::names

#pragma once

#include "Common.h"
#include "client/KELClientInterface.h"
#include "common/Failure.h"

namespace itemctl {

Failure failureFrom(const ipc::ClientError& error);

/// A value, or the failure that stands in its place.
template <typename T>
class Expected : public cli::Expected<T>
{
public:
    using cli::Expected<T>::Expected;
    Expected(const ipc::ClientError& error)
        : cli::Expected<T>(failureFrom(error))
    {
    }
};

} // namespace itemctl

#pragma once

#include "Result.h"
#include "client/KELClientInterface.h"

namespace mirror {

[[nodiscard]] base::Error errorFrom(const ipc::ClientError& error);

/// What a server answered.
template <typename T>
[[nodiscard]] base::Result<T> resultOf(const ipc::Outcome<T>& outcome)
{
    if (outcome) {
        return *outcome;
    }
    return tl::unexpected(errorFrom(outcome.error()));
}

} // namespace mirror

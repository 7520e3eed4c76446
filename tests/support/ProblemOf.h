#pragma once

#include "Result.h"

/// Why it failed; empty when it did not.
template <typename T>
QString problemOf(const base::Result<T>& result)
{
    return result ? QString() : result.error().text;
}

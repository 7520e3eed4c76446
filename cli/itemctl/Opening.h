#pragma once

#include "Commands.h"
#include "Common.h"
#include "LiveItems.h"
#include "Patience.h"

#include <functional>
#include <memory>

namespace itemctl {

/// The items of the servers that a request concerns, live from now on. The bus tells nothing of the others.
///
/// With --await-server a server that is not there yet, or has not come with the item yet, is waited for, as
/// long as there is time.
/// @param names items or patterns, all that matter; none for everything
/// @param check what has to hold of the items besides
base::Result<std::unique_ptr<LiveItems>> openLive(const Request& request, const QStringList& names,
                                                  const Patience& patience, Output& output,
                                                  const std::function<base::Result<>(LiveItems&)>& check);

} // namespace itemctl

#pragma once

#include "IpcExport.h"
#include "ItemAddress.h"

#include <QStringList>

namespace ipc {

/// Whether a shell pattern, as fnmatch(3) reads it, names an item: by "module:id" or "id" (all instances of a
/// list item), or with the index of an instance behind it ("pairlistAddr:3"), or its full address.
IPC_EXPORT bool matchesPattern(const ItemAddress& address, const QString& pattern);

/// Whether the pattern fits nothing but what is written as it is.
IPC_EXPORT bool isName(const QString& pattern);

/// Whether one of the patterns does; no pattern at all matches everything.
IPC_EXPORT bool matchesAnyPattern(const ItemAddress& address, const QStringList& patterns);

} // namespace ipc

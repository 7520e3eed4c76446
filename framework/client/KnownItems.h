#pragma once

#include "ItemRecord.h"

#include <QHash>
#include <QVariantMap>

namespace ipc {

/// What a client was told last of each item, to find out what it missed.
class KnownItems
{
public:
    /// What of these differs from what was told last, as a change tells it; it counts as told from now on. An
    /// item that was never told is one that differs.
    ItemRecords take(const ItemRecords& present);

private:
    QHash<QString, QVariantMap> m_told; ///< the properties that change, by address
};

} // namespace ipc

#pragma once

#include "IpcExport.h"

#include <QString>

#include <optional>

namespace ipc {

enum class ItemKind { Config, Result, Action };

IPC_EXPORT QString toString(ItemKind kind);

/// Where an item stands: ":config:SERVER:MODULE:ID:", and ":result:SERVER:MODULE:ID:3:" for instance 3.
struct IPC_EXPORT ItemAddress
{
    static constexpr int NoIndex = -1;

    ItemKind kind = ItemKind::Config;
    QString server;
    QString module;
    QString id;
    int index = NoIndex;

    [[nodiscard]] QString toString() const;
    /// The id as it is written within the module: "pairlistAddr:3".
    [[nodiscard]] QString shortName() const;

    static std::optional<ItemAddress> parse(const QString& text);
};

/// "id" or "id:3".
IPC_EXPORT QString shortItemName(const QString& id, int index);

} // namespace ipc

#pragma once

#include "EnumType.h"
#include "IpcExport.h"

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace ipc {

/// One item on the bus, D-Bus signature (sa{sv}): its full address and its properties.
///
/// List and Watch send "kind" ("config", "result", "action"), "module", "id", "index" (i; instances only),
/// "label", "value" (not for actions), "text" and "symbol" (enumerations only: the label and the symbol of
/// the present value) and "applicable" (b). Changed sends those of "value", with "text" and "symbol", and
/// "applicable" that are new.
struct ItemRecord
{
    QString address;
    QVariantMap properties;
};

using ItemRecords = QList<ItemRecord>;

/// The "enumeration" of a described item: a(iss), value, symbol and label of each.
using EnumValues = QVector<EnumValue>;

IPC_EXPORT QDBusArgument& operator<<(QDBusArgument& argument, const ItemRecord& record);
IPC_EXPORT const QDBusArgument& operator>>(const QDBusArgument& argument, ItemRecord& record);

/// Registers the wire types once; harmless when repeated. Done when the application is made.
IPC_EXPORT void registerItemRecordTypes();

} // namespace ipc

IPC_EXPORT QDBusArgument& operator<<(QDBusArgument& argument, const EnumValue& value);
IPC_EXPORT const QDBusArgument& operator>>(const QDBusArgument& argument, EnumValue& value);

Q_DECLARE_METATYPE(ipc::ItemRecord)
Q_DECLARE_METATYPE(ipc::ItemRecords)
Q_DECLARE_METATYPE(ipc::EnumValues)

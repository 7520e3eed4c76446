#include "ItemRecord.h"

#include <QDBusMetaType>

namespace ipc {

QDBusArgument& operator<<(QDBusArgument& argument, const ItemRecord& record)
{
    argument.beginStructure();
    argument << record.address << record.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ItemRecord& record)
{
    argument.beginStructure();
    argument >> record.address >> record.properties;
    argument.endStructure();
    return argument;
}

void registerItemRecordTypes()
{
    static const bool registered = [] {
        qDBusRegisterMetaType<ItemRecord>();
        qDBusRegisterMetaType<ItemRecords>();
        qDBusRegisterMetaType<EnumValue>();
        qDBusRegisterMetaType<EnumValues>();
        return true;
    }();
    Q_UNUSED(registered)
}

} // namespace ipc

QDBusArgument& operator<<(QDBusArgument& argument, const EnumValue& value)
{
    argument.beginStructure();
    argument << value.value << value.symbol << value.label;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, EnumValue& value)
{
    argument.beginStructure();
    argument >> value.value >> value.symbol >> value.label;
    argument.endStructure();
    return argument;
}

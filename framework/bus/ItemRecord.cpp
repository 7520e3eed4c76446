#include "ItemRecord.h"

#include <QCoreApplication>
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

// Before any connection is made, not only before the first message: QtDBus's thread reads messages until it
// is joined, behind the end of main(). Until then it needs the table of types, which outlives it if it is
// older.
Q_COREAPP_STARTUP_FUNCTION(registerItemRecordTypes)

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

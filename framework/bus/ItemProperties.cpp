#include "ItemProperties.h"

#include "items/EnumMatch.h"

namespace ipc {
namespace {

void insertUnlessAbsent(QVariantMap& properties, const QString& key, const QVariant& value)
{
    if (value.isValid() && !(value.userType() == QMetaType::QString && value.toString().isEmpty())) {
        properties.insert(key, value);
    }
}

void insertValue(QVariantMap& properties, const Item& item)
{
    // An invalid value has no form on the bus: actions and items never written are without.
    if (item.value().isValid()) {
        properties.insert(QStringLiteral("value"), item.value());
    }
    if (item.type().isEnumeration()) {
        const qlonglong number = item.value().toLongLong();
        properties.insert(QStringLiteral("text"), enumLabel(item.type().values(), number));
        properties.insert(QStringLiteral("symbol"), enumSymbol(item.type().values(), number));
    }
}

void insertApplicable(QVariantMap& properties, const Item& item)
{
    properties.insert(QStringLiteral("applicable"), item.isApplicable());
}

} // namespace

ItemRecord listedItem(const Item& item)
{
    QVariantMap properties{
        { QStringLiteral("kind"), toString(item.address().kind) },
        { QStringLiteral("module"), item.address().module },
        { QStringLiteral("id"), item.address().id },
        { QStringLiteral("label"), item.label() },
    };
    if (item.address().index != ItemAddress::NoIndex) {
        properties.insert(QStringLiteral("index"), item.address().index);
    }
    insertValue(properties, item);
    insertApplicable(properties, item);
    return { item.addressText(), properties };
}

ItemRecord changedItem(const Item& item, const Item::Changes& changes)
{
    QVariantMap properties;
    if (changes.value) {
        insertValue(properties, item);
    }
    if (changes.applicable) {
        insertApplicable(properties, item);
    }
    return { item.addressText(), properties };
}

QVariantMap describedItem(const Item& item)
{
    const ItemRecord record = listedItem(item);
    QVariantMap description = record.properties;
    description.insert(QStringLiteral("address"), record.address);
    insertUnlessAbsent(description, QStringLiteral("applicability"), item.applicability());
    if (item.address().kind == ItemKind::Action) {
        description.insert(QStringLiteral("type"), QStringLiteral("action"));
        description.insert(QStringLiteral("takesText"), std::holds_alternative<TextHandler>(item.handler()));
        return description;
    }
    description.insert(QStringLiteral("type"), item.type().name());
    description.insert(QStringLiteral("writable"), item.isWritable());
    description.insert(QStringLiteral("private"), item.isPrivate());
    if (item.defaultValue().isValid()) {
        description.insert(QStringLiteral("default"), item.defaultValue());
    }
    insertUnlessAbsent(description, QStringLiteral("minimum"), item.type().minimum());
    insertUnlessAbsent(description, QStringLiteral("maximum"), item.type().maximum());
    insertUnlessAbsent(description, QStringLiteral("regularExpression"), item.type().regularExpression());
    insertUnlessAbsent(description, QStringLiteral("hint"), item.hint());
    if (item.type().isEnumeration()) {
        description.insert(QStringLiteral("enumeration"), QVariant::fromValue(item.type().values()));
    }
    return description;
}

} // namespace ipc

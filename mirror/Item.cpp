#include "Item.h"

namespace mirror {

Item Item::fromRecord(const QString& server, const ipc::ItemRecord& record)
{
    const auto text = [&](const char* key) {
        return record.properties.value(QLatin1String(key)).toString();
    };
    Item item;
    item.server = server;
    item.address = record.address;
    item.kind = text("kind");
    item.module = text("module");
    item.id = text("id");
    item.label = text("label");
    item.text = text("text");
    item.symbol = text("symbol");
    item.value = record.properties.value(QStringLiteral("value"));
    item.isEnumeration = record.properties.contains(QStringLiteral("text"));
    item.applicable = record.properties.value(QStringLiteral("applicable"), true).toBool();
    if (const auto index = record.properties.constFind(QStringLiteral("index"));
        index != record.properties.constEnd()) {
        item.index = index->toInt();
    }
    return item;
}

QString Item::idWithIndex() const
{
    return index ? id + QLatin1Char(':') + QString::number(*index) : id;
}

QString Item::shortName() const
{
    return module + QLatin1Char(':') + idWithIndex();
}

Change apply(const QVariantMap& changed, Item& item)
{
    Change change;
    if (const auto value = changed.constFind(QStringLiteral("value")); value != changed.constEnd()) {
        change.value = true;
        item.value = *value;
    }
    if (const auto text = changed.constFind(QStringLiteral("text")); text != changed.constEnd()) {
        item.text = text->toString();
        item.symbol = changed.value(QStringLiteral("symbol")).toString();
    }
    if (const auto applicable = changed.constFind(QStringLiteral("applicable"));
        applicable != changed.constEnd()) {
        change.applicability = applicable->toBool() != item.applicable;
        item.applicable = applicable->toBool();
    }
    return change;
}

Change replace(const Item& present, Item& item)
{
    const Change change{ present.value != item.value, present.applicable != item.applicable };
    item = present;
    return change;
}

} // namespace mirror

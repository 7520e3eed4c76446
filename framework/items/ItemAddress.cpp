#include "ItemAddress.h"

#include <QStringList>

namespace ipc {
namespace {

std::optional<ItemKind> parseKind(const QString& text)
{
    for (const ItemKind kind : { ItemKind::Config, ItemKind::Result, ItemKind::Action }) {
        if (text == toString(kind)) {
            return kind;
        }
    }
    return {};
}

} // namespace

QString toString(ItemKind kind)
{
    switch (kind) {
    case ItemKind::Config:
        return QStringLiteral("config");
    case ItemKind::Result:
        return QStringLiteral("result");
    case ItemKind::Action:
        return QStringLiteral("action");
    }
    return {};
}

QString shortItemName(const QString& id, int index)
{
    return index == ItemAddress::NoIndex ? id : id + QLatin1Char(':') + QString::number(index);
}

QString ItemAddress::shortName() const
{
    return shortItemName(id, index);
}

QString ItemAddress::toString() const
{
    return QStringLiteral(":%1:%2:%3:%4:").arg(ipc::toString(kind), server, module, shortName());
}

std::optional<ItemAddress> ItemAddress::parse(const QString& text)
{
    // A leading and a closing colon give an empty first and last part.
    const QStringList parts = text.split(QLatin1Char(':'));
    if ((parts.size() != 6 && parts.size() != 7) || !parts.first().isEmpty() || !parts.last().isEmpty()) {
        return {};
    }
    const std::optional<ItemKind> kind = parseKind(parts[1]);
    if (!kind) {
        return {};
    }
    ItemAddress address{ *kind, parts[2], parts[3], parts[4], NoIndex };
    if (parts.size() == 7) {
        bool isNumber = false;
        address.index = static_cast<int>(parts[5].toUShort(&isNumber));
        if (!isNumber) {
            return {};
        }
    }
    return address;
}

} // namespace ipc

// What the shells' completion asks for.
#include "Commands.h"
#include "Description.h"
#include "ItemNames.h"

namespace itemctl {
namespace {

base::Result<Listing> listedSoon(Servers servers)
{
    constexpr std::chrono::seconds Patience{ 1 };
    servers.setTimeout(Patience);
    return listed(std::move(servers));
}

QStringList names(const Listing& all, const QStringList& kinds)
{
    QStringList names;
    for (const Item& item : all.items) {
        if (kinds.isEmpty() || kinds.contains(item.kind)) {
            names << item.idWithIndex() << item.shortName();
        }
    }
    return names;
}

/// What the item may be set to, as far as that can be told.
QStringList values(const Listing& all, const QString& name)
{
    const auto position = findItem(all.items, name, Wanted::Valued);
    if (!position) {
        return {};
    }
    const Item& item = all.items[*position];
    if (item.value.userType() == QMetaType::Bool) {
        return { QStringLiteral("true"), QStringLiteral("false") };
    }
    QStringList symbols;
    if (const auto description = all.servers.clientOf(item).describe(item.address)) {
        for (const EnumValue& value : enumerationOf(*description)) {
            symbols << value.symbol;
        }
    }
    return symbols;
}

/// A condition is an item's name first.
QStringList conditions(const Listing& all, const QString& typed)
{
    const int behind = typed.indexOf(QLatin1Char('=')) + 1;
    QStringList texts;
    if (behind > 0) {
        const QString before = typed.left(behind);
        for (const QString& value :
             values(all, QString(before).chopped(before.endsWith(QLatin1String("!=")) ? 2 : 1))) {
            texts << before + value;
        }
        return texts;
    }
    for (const QString& name : names(all, { QStringLiteral("config"), QStringLiteral("result") })) {
        texts << name + QLatin1Char('=');
    }
    return texts;
}

QStringList lists(const Listing& all)
{
    QStringList ids;
    for (const Item& item : all.items) {
        if (item.index && (ids.isEmpty() || ids.last() != item.id)) {
            ids << item.id;
        }
    }
    return ids;
}

} // namespace

QStringList offers(const cli::CompletionPlace& place)
{
    const QStringList valued{ QStringLiteral("config"), QStringLiteral("result") };
    const auto all = serversFor({}, {}).and_then(listedSoon);
    if (!all) {
        return {};
    }
    if (place.kind == QLatin1String("NAME")) {
        QStringList servers;
        for (const auto& client : all->servers.clients()) {
            servers << serverName(client->busName());
        }
        return servers;
    }
    if (place.kind == QLatin1String("CONDITION")) {
        return conditions(*all, place.typed);
    }
    if (place.kind == QLatin1String("VALUE")) {
        return values(*all, place.before.value(0));
    }
    if (place.kind == QLatin1String("LIST")) {
        return lists(*all);
    }
    if (place.kind == QLatin1String("ACTION")) {
        return names(*all, { QStringLiteral("action") });
    }
    if (place.kind == QLatin1String("ITEM")) {
        return names(*all, place.subcommand == QLatin1String("describe") ? QStringList() : valued);
    }
    return place.kind == QLatin1String("PATTERN") ? names(*all, {}) : QStringList();
}

} // namespace itemctl

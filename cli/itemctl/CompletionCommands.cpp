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

} // namespace

base::Result<ExitStatus> names(const Request& request, Output& output)
{
    const auto all = serversFor(request, {}).and_then(listedSoon);
    if (!all) {
        return tl::unexpected(all.error());
    }
    for (const Item& item : all->items) {
        if (request.arguments.isEmpty() || request.arguments.contains(item.kind)) {
            output.lines({ item.idWithIndex(), item.shortName() });
        }
    }
    return ExitStatus::Done;
}

base::Result<ExitStatus> values(const Request& request, Output& output)
{
    const auto all = serversFor(request, request.arguments).and_then(listedSoon);
    if (!all) {
        return tl::unexpected(all.error());
    }
    const auto position = findItem(all->items, request.arguments.value(0), Wanted::Valued);
    if (!position) {
        return tl::unexpected(position.error());
    }
    const Item& item = all->items[*position];
    if (item.value.userType() == QMetaType::Bool) {
        output.lines({ QStringLiteral("true"), QStringLiteral("false") });
    }
    return resultOf(all->servers.clientOf(item).describe(item.address))
        .map([&output](const QVariantMap& description) {
            for (const EnumValue& value : enumerationOf(description)) {
                output.line(value.symbol);
            }
            return ExitStatus::Done;
        });
}

} // namespace itemctl

#include "Commands.h"

#include "ItemNames.h"

namespace itemctl {

base::Result<Servers> serversFor(const Request& request, const QStringList& names)
{
    const auto bus = sessionBus();
    if (!bus) {
        return tl::unexpected(bus.error());
    }
    if (!request.server.isEmpty()) {
        return Servers::open(*bus, { request.server });
    }
    QStringList named;
    for (const QString& name : names) {
        const QString server = serverOfAddress(name);
        if (server.isEmpty()) {
            return Servers::open(*bus, {});
        }
        named += server;
    }
    return Servers::open(*bus, named);
}

base::Result<Listing> listed(Servers servers)
{
    auto items = servers.list();
    if (!items) {
        return tl::unexpected(items.error());
    }
    return Listing{ std::move(servers), std::move(*items) };
}

void noteSilent(const Servers& servers, Output& output)
{
    for (const base::Error& error : servers.silent()) {
        output.note(error.text);
    }
}

QString shownName(const Item& item, const Output& output)
{
    return output.isTerminal() ? item.shortName() : item.address;
}

} // namespace itemctl

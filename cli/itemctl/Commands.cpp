#include "Commands.h"

#include "ItemNames.h"

namespace itemctl {

ExitStatus run(const Request& request, Output& output)
{
    using Command = Request::Command;
    switch (request.command) {
    case Command::List:
        return runList(request, output);
    case Command::Get:
        return runGet(request, output);
    case Command::Set:
        return runSet(request, output);
    case Command::Call:
        return runCall(request, output);
    case Command::Watch:
        return runWatch(request, output);
    case Command::Wait:
        return runWait(request, output);
    case Command::Describe:
        return runDescribe(request, output);
    case Command::Servers:
        return runServers(request, output);
    case Command::Top:
        return runTop(request, output);
    case Command::Names:
        return runNames(request, output);
    case Command::Values:
        return runValues(request, output);
    }
    return ExitStatus::Usage;
}

Expected<Servers> serversFor(const Request& request, const QStringList& names)
{
    const auto bus = sessionBus();
    if (!bus) {
        return bus.failure();
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

Expected<Items> listAll(Servers& servers, Output& output)
{
    auto items = servers.list();
    if (items) {
        for (const Failure& failure : servers.silent()) {
            output.note(failure.message);
        }
    }
    return items;
}

} // namespace itemctl

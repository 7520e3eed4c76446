// What the shells' completion asks for. A completion that fails has nothing to offer, and nothing to say in
// the middle of a command line.
#include "Commands.h"
#include "Description.h"
#include "ItemNames.h"

namespace itemctl {
namespace {

constexpr std::chrono::seconds Patience{ 1 };

Expected<Servers> impatientServers(const Request& request, const QStringList& names)
{
    auto servers = serversFor(request, names);
    if (servers) {
        servers->setTimeout(Patience);
    }
    return servers;
}

} // namespace

ExitStatus runNames(const Request& request, Output& output)
{
    auto servers = impatientServers(request, {});
    if (!servers) {
        return servers.failure().status;
    }
    const auto all = servers->list();
    if (!all) {
        return all.failure().status;
    }
    for (const Item& item : *all) {
        if (request.arguments.isEmpty() || request.arguments.contains(item.kind)) {
            output.line(item.idWithIndex());
            output.line(item.shortName());
        }
    }
    return ExitStatus::Done;
}

ExitStatus runValues(const Request& request, Output& output)
{
    const QString name = request.arguments.value(0);
    auto servers = impatientServers(request, { name });
    if (!servers) {
        return servers.failure().status;
    }
    const auto all = servers->list();
    if (!all) {
        return all.failure().status;
    }
    const auto position = findItem(*all, name, Wanted::Valued);
    if (!position) {
        return position.failure().status;
    }
    const Item& item = (*all)[*position];
    if (item.value.userType() == QMetaType::Bool) {
        output.line(QStringLiteral("true"));
        output.line(QStringLiteral("false"));
    }
    const auto description = servers->clientOf(item).describe(item.address);
    if (!description) {
        return ExitStatus::NoAnswer;
    }
    for (const EnumValue& value : enumerationOf(*description)) {
        output.line(value.symbol);
    }
    return ExitStatus::Done;
}

} // namespace itemctl

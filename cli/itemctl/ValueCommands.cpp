#include "Commands.h"
#include "Description.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

namespace itemctl {
namespace {

/// The items that were named, one for each name in their order, and the servers that have them.
base::Result<Listing> select(const Request& request, const QStringList& names, Wanted wanted, Output& output)
{
    auto all = serversFor(request, names).and_then(listed);
    if (!all) {
        return all;
    }
    noteSilent(all->servers, output);
    Items items;
    for (const QString& name : names) {
        const auto found = findItem(all->items, name, wanted);
        if (!found) {
            return tl::unexpected(notFound(all->items, all->servers, name, found.error()));
        }
        items += all->items[*found];
    }
    all->items = items;
    return all;
}

void noteIfInapplicable(const Item& item, const QString& name, Output& output)
{
    if (!item.applicable) {
        output.note(QStringLiteral("note: %1 does not apply now").arg(name));
    }
}

tl::unexpected<base::Error> actionHasNoValue(const QString& name)
{
    return base::error(
        QStringLiteral("%1 is an action and has no value; \"itemctl call %1\" triggers it").arg(name));
}

nlohmann::ordered_json valuesJson(const Items& items)
{
    if (items.size() == 1) {
        return base::toJson(items.first().value);
    }
    auto values = nlohmann::ordered_json::array();
    for (const Item& item : items) {
        values.push_back(base::toJson(item.value));
    }
    return values;
}

} // namespace

base::Result<ExitStatus> get(const Request& request, Output& output)
{
    const auto selected = select(request, request.arguments, Wanted::Valued, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    QStringList lines;
    for (int i = 0; i < selected->items.size(); ++i) {
        const Item& item = selected->items[i];
        const QString& name = request.arguments[i];
        if (item.isAction()) {
            return actionHasNoValue(name);
        }
        // As a record that another module writes, until it does so for the first time.
        if (!item.value.isValid() && !request.json) {
            return base::error(QStringLiteral("%1 has no value yet").arg(name));
        }
        noteIfInapplicable(item, name, output);
        lines += base::rawText(item.value);
    }
    return request.json ? output.line(base::jsonText(valuesJson(selected->items))) : output.lines(lines);
}

base::Result<ExitStatus> set(const Request& request, Output& output)
{
    const QString name = request.arguments.value(0);
    const auto selected = select(request, { name }, Wanted::Valued, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    const Item& item = selected->items.first();
    if (item.isAction()) {
        return actionHasNoValue(name);
    }
    noteIfInapplicable(item, name, output);
    const KELClientInterface& client = selected->servers.clientOf(item);
    const auto done = resultOf(client.set(item.address, request.arguments.value(1)));
    if (!done || !request.json) {
        return done.map([](ipc::Done /*done*/) { return ExitStatus::Done; });
    }
    return resultOf(client.get(item.address)).map([&output](const QVariant& value) {
        return output.line(base::jsonText(base::toJson(value)));
    });
}

base::Result<ExitStatus> call(const Request& request, Output& output)
{
    const QString name = request.arguments.value(0);
    const auto selected = select(request, { name }, Wanted::Action, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    const Item& item = selected->items.first();
    noteIfInapplicable(item, name, output);
    return resultOf(selected->servers.clientOf(item).trigger(item.address, request.arguments.value(1)))
        .map([&](const QString& reply) {
            if (request.json) {
                return output.line(base::jsonText(base::toJson(reply)));
            }
            return reply.isEmpty() ? ExitStatus::Done : output.line(escaped(reply));
        });
}

base::Result<ExitStatus> describe(const Request& request, Output& output)
{
    const auto selected = select(request, request.arguments, Wanted::Any, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    const Item& item = selected->items.first();
    return resultOf(selected->servers.clientOf(item).describe(item.address))
        .map([&](const QVariantMap& description) {
            return request.json ? output.line(base::jsonText(descriptionJson(item, description)))
                                : output.lines(descriptionLines(item, description));
        });
}

} // namespace itemctl

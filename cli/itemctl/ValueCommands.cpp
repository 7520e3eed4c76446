#include "Commands.h"
#include "Description.h"
#include "ItemNames.h"
#include "JsonText.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace itemctl {
namespace {

/// The items that were named, and the servers that have them.
struct Selection
{
    Servers servers;
    Items items; ///< one for each name, in the order of the names
};

Expected<Selection> select(const Request& request, const QStringList& names, Wanted wanted, Output& output)
{
    auto servers = serversFor(request, names);
    if (!servers) {
        return servers.failure();
    }
    const auto all = listAll(*servers, output);
    if (!all) {
        return all.failure();
    }
    Items items;
    for (const QString& name : names) {
        const auto found = findItem(*all, name, wanted);
        if (!found) {
            return notFound(*all, *servers, name, found.failure());
        }
        items += (*all)[*found];
    }
    return Selection{ std::move(*servers), items };
}

void noteIfInapplicable(const Item& item, const QString& name, Output& output)
{
    if (!item.applicable) {
        output.note(QStringLiteral("note: %1 does not apply now").arg(name));
    }
}

Failure actionHasNoValue(const QString& name)
{
    return { ExitStatus::Failed,
             QStringLiteral("%1 is an action and has no value; \"itemctl call %1\" triggers it").arg(name) };
}

/// As a record that another module writes, until it does so for the first time.
Failure hasNoValueYet(const QString& name)
{
    return { ExitStatus::Failed, QStringLiteral("%1 has no value yet").arg(name) };
}

ExitStatus written(bool ok)
{
    return ok ? ExitStatus::Done : ExitStatus::Failed;
}

ExitStatus printValues(const Items& items, const Request& request, Output& output)
{
    if (!request.json) {
        return written(std::all_of(items.begin(), items.end(),
                                   [&](const Item& item) { return output.line(rawText(item.value)); }));
    }
    if (items.size() == 1) {
        return written(output.line(jsonText(toJson(items.first().value))));
    }
    auto values = nlohmann::ordered_json::array();
    for (const Item& item : items) {
        values.push_back(toJson(item.value));
    }
    return written(output.line(jsonText(values)));
}

} // namespace

ExitStatus runGet(const Request& request, Output& output)
{
    const auto selected = select(request, request.arguments, Wanted::Valued, output);
    if (!selected) {
        return output.fail(selected.failure());
    }
    for (int i = 0; i < selected->items.size(); ++i) {
        const Item& item = selected->items[i];
        if (item.isAction()) {
            return output.fail(actionHasNoValue(request.arguments[i]));
        }
        if (!item.value.isValid() && !request.json) {
            return output.fail(hasNoValueYet(request.arguments[i]));
        }
        noteIfInapplicable(item, request.arguments[i], output);
    }
    return printValues(selected->items, request, output);
}

ExitStatus runSet(const Request& request, Output& output)
{
    const QString name = request.arguments.value(0);
    const auto selected = select(request, { name }, Wanted::Valued, output);
    if (!selected) {
        return output.fail(selected.failure());
    }
    const Item& item = selected->items.first();
    if (item.isAction()) {
        return output.fail(actionHasNoValue(name));
    }
    noteIfInapplicable(item, name, output);
    const KELClientInterface& client = selected->servers.clientOf(item);
    if (const auto done = client.set(item.address, request.arguments.value(1)); !done) {
        return output.fail(failureFrom(done.error()));
    }
    if (!request.json) {
        return ExitStatus::Done;
    }
    const auto value = client.get(item.address);
    return value ? written(output.line(jsonText(toJson(*value)))) : output.fail(failureFrom(value.error()));
}

ExitStatus runCall(const Request& request, Output& output)
{
    const QString name = request.arguments.value(0);
    const auto selected = select(request, { name }, Wanted::Action, output);
    if (!selected) {
        return output.fail(selected.failure());
    }
    const Item& item = selected->items.first();
    noteIfInapplicable(item, name, output);
    const auto reply = selected->servers.clientOf(item).trigger(item.address, request.arguments.value(1));
    if (!reply) {
        return output.fail(failureFrom(reply.error()));
    }
    if (request.json) {
        return written(output.line(jsonText(toJson(*reply))));
    }
    return reply->isEmpty() ? ExitStatus::Done : written(output.line(escaped(*reply)));
}

ExitStatus runDescribe(const Request& request, Output& output)
{
    const auto selected = select(request, { request.arguments.value(0) }, Wanted::Any, output);
    if (!selected) {
        return output.fail(selected.failure());
    }
    const Item& item = selected->items.first();
    const auto description = selected->servers.clientOf(item).describe(item.address);
    if (!description) {
        return output.fail(failureFrom(description.error()));
    }
    if (request.json) {
        return written(output.line(jsonText(descriptionJson(item, *description))));
    }
    const QStringList lines = descriptionLines(item, *description);
    return written(
        std::all_of(lines.begin(), lines.end(), [&](const QString& line) { return output.line(line); }));
}

} // namespace itemctl

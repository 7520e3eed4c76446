#include "Commands.h"
#include "Description.h"
#include "Goal.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "ItemWords.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>

#include <functional>

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

/// Something that is asked of an item.
struct Act
{
    Wanted wanted;
    bool needsNews; ///< a condition that holds already does not count
    std::function<base::Result<ExitStatus>(const KELClientInterface& client, const Item& item)> send;
};

/// Listens first, then sends, then waits for what the request is to lead to.
base::Result<ExitStatus> actAndWait(const Request& request, const Act& act, Output& output)
{
    const Patience patience(request);
    const auto conditions = GoalConditions::parse(request.until, request.unless);
    if (!conditions) {
        return tl::unexpected(conditions.error());
    }
    const QString& name = request.arguments.first();
    auto servers = serversFor(request, conditions->items() << name);
    if (!servers) {
        return tl::unexpected(servers.error());
    }
    servers->setTimeout(patience.ofAnAnswer());
    LiveItems live(std::move(*servers));
    const auto present = live.start();
    if (!present) {
        return tl::unexpected(present.error());
    }
    noteSilent(live.servers(), output);
    const auto position = findItem(*present, name, act.wanted);
    if (!position) {
        return tl::unexpected(notFound(*present, live.servers(), name, position.error()));
    }
    auto goal = Goal::of(*conditions, live);
    if (!goal) {
        return tl::unexpected(goal.error());
    }
    const Item& item = present->at(*position);
    const KELClientInterface& client = live.servers().clientOf(item);
    return act.send(client, item).and_then([&](ExitStatus sent) -> base::Result<ExitStatus> {
        if (sent != ExitStatus::Done) {
            return sent;
        }
        if (act.needsNews) {
            // A server tells of what was before the request before it answers.
            QCoreApplication::processEvents();
            goal->forgetThePresent();
        }
        return goal->reach(patience, true, request, output);
    });
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
    const auto send = [&](const KELClientInterface& client, const Item& item) -> base::Result<ExitStatus> {
        if (item.isAction()) {
            return actionHasNoValue(name);
        }
        noteIfInapplicable(item, name, output);
        return resultOf(client.set(item.address, request.arguments.value(1))).map([](ipc::Done /*done*/) {
            return ExitStatus::Done;
        });
    };
    if (!request.until.isEmpty()) {
        return actAndWait(request, { Wanted::Valued, false, send }, output);
    }
    const auto selected = select(request, { name }, Wanted::Valued, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    const Item& item = selected->items.first();
    const KELClientInterface& client = selected->servers.clientOf(item);
    auto done = send(client, item);
    if (!done || !request.json) {
        return done;
    }
    return resultOf(client.get(item.address)).map([&output](const QVariant& value) {
        return output.line(base::jsonText(base::toJson(value)));
    });
}

base::Result<ExitStatus> call(const Request& request, Output& output)
{
    const QString name = request.arguments.value(0);
    const bool waits = !request.until.isEmpty();
    const auto send = [&](const KELClientInterface& client, const Item& item) -> base::Result<ExitStatus> {
        noteIfInapplicable(item, name, output);
        return resultOf(client.trigger(item.address, request.arguments.value(1)))
            .map([&](const QString& reply) {
                // On the way to a goal an object a line is printed, which a reply is not.
                if (request.json && !waits) {
                    return output.line(base::jsonText(base::toJson(reply)));
                }
                return reply.isEmpty() || request.json ? ExitStatus::Done : output.line(escaped(reply));
            });
    };
    if (waits) {
        return actAndWait(request, { Wanted::Action, true, send }, output);
    }
    const auto selected = select(request, { name }, Wanted::Action, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    const Item& item = selected->items.first();
    return send(selected->servers.clientOf(item), item);
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
            const auto words = wordsOf(item);
            if (!words) { // all else can be told without them
                output.note(QStringLiteral("note: ") + words.error().text);
            }
            const auto known = words.value_or(nlohmann::ordered_json::object());
            if (!request.json) {
                return output.lines(descriptionLines(item, description, known));
            }
            auto object = descriptionJson(item, description);
            if (!known.empty()) {
                object["words"] = known;
            }
            return output.line(base::jsonText(object));
        });
}

} // namespace itemctl

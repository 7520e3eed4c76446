#include "Commands.h"
#include "Description.h"
#include "Goal.h"
#include "ItemJson.h"
#include "ItemNames.h"
#include "ItemWords.h"
#include "ListRows.h"
#include "Opening.h"
#include "ValueText.h"
#include "common/DisplayText.h"

#include <nlohmann/json.hpp>

#include <QEventLoop>

#include <algorithm>
#include <functional>
#include <optional>

namespace itemctl {
namespace {

/// One item for each name, in their order.
base::Result<Items> pick(const Items& items, const Servers& servers, const QStringList& names, Wanted wanted)
{
    Items picked;
    for (const QString& name : names) {
        const auto found = findItem(items, name, wanted);
        if (!found) {
            return tl::unexpected(notFound(items, servers, name, found.error()));
        }
        picked += items[*found];
    }
    return picked;
}

/// The items that were named, one for each name in their order, and the servers that have them.
base::Result<Listing> select(const Request& request, const QStringList& names, Wanted wanted, Output& output)
{
    auto servers = serversFor(request, names);
    if (!servers) {
        return tl::unexpected(servers.error());
    }
    const auto some = servers->list(names);
    auto picked = some.and_then([&](const Items& items) { return pick(items, *servers, names, wanted); });
    if (some && !picked) { // what is near to it is known of all of them
        picked = servers->list().and_then(
            [&](const Items& items) { return pick(items, *servers, names, wanted); });
    }
    noteSilent(*servers, output);
    return picked.map([&](const Items& items) { return Listing{ std::move(*servers), items }; });
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
    /// @param answered is called before anything is told that came behind the answer
    std::function<base::Result<ExitStatus>(const KELClientInterface& client, const Item& item,
                                           const std::function<void()>& answered)>
        send;
    Goal::Counts counts;
    /// What it needs to know of other items.
    std::function<base::Result<>(const Items& items, const Servers& servers)> prepare;
};

/// Listens first, then sends, then waits for what the request is to lead to.
base::Result<ExitStatus> actAndWait(const Request& request, const Act& act, Output& output)
{
    const Patience patience = patienceOf(request);
    const auto conditions = GoalConditions::parse(request.until, request.unless);
    if (!conditions) {
        return tl::unexpected(conditions.error());
    }
    const QString& name = request.arguments.first();
    QStringList names = conditions->items() + request.show << name;
    if (const auto row = Condition::parse(request.row)) {
        names << row->item() << request.take;
    }
    std::optional<Item> item;
    const auto live = openLive(request, names, patience, output, [&](LiveItems& items) {
        return pick(items.items(), items.servers(), { name }, act.wanted)
            .map([&item](const Items& picked) { item = picked.first(); })
            .and_then([&] { return act.prepare(items.items(), items.servers()); });
    });
    if (!live) {
        return tl::unexpected(live.error());
    }
    auto goal = Goal::of(*conditions, **live);
    if (!goal) {
        return tl::unexpected(goal.error());
    }
    const KELClientInterface& client = (*live)->servers().clientOf(*item);
    return goal->reach(patience, request, output, [&](const std::function<void(Goal::Counts)>& answered) {
        return act.send(client, *item, [&] { answered(act.counts); });
    });
}

/// Triggers an action; what comes of it later may be seen already when this returns.
base::Result<QString> trigger(const KELClientInterface& client, const Item& item, const QString& text,
                              const std::function<void()>& answered)
{
    QEventLoop loop;
    std::optional<base::Result<QString>> reply;
    client.trigger(item.address, text, &loop, [&](const ipc::Outcome<QString>& outcome) {
        answered();
        reply = resultOf(outcome);
        loop.quit();
    });
    loop.exec();
    return *reply;
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
    const auto send = [&](const KELClientInterface& client, const Item& item,
                          const std::function<void()>& answered) -> base::Result<ExitStatus> {
        answered();
        if (item.isAction()) {
            return actionHasNoValue(name);
        }
        noteIfInapplicable(item, name, output);
        return resultOf(client.set(item.address, request.arguments.value(1))).map([](ipc::Done /*done*/) {
            return ExitStatus::Done;
        });
    };
    if (!request.until.isEmpty()) {
        const auto nothing = [](const Items& /*items*/, const Servers& /*servers*/) {
            return base::Result<>();
        };
        return actAndWait(request, { Wanted::Valued, send, Goal::Counts::Present, nothing }, output);
    }
    const auto selected = select(request, { name }, Wanted::Valued, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    const Item& item = selected->items.first();
    const KELClientInterface& client = selected->servers.clientOf(item);
    auto done = send(client, item, [] {});
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
    QString text = request.arguments.value(1);
    const auto prepare = [&](const Items& items, const Servers& servers) -> base::Result<> {
        if (request.row.isEmpty()) {
            return {};
        }
        return Condition::parse(request.row)
            .and_then([&](const Condition& row) { return takeFromRow(items, servers, row, request.take); })
            .map([&text](const QString& taken) { text = taken; });
    };
    const auto send = [&](const KELClientInterface& client, const Item& item,
                          const std::function<void()>& answered) -> base::Result<ExitStatus> {
        noteIfInapplicable(item, name, output);
        return trigger(client, item, text, answered).map([&](const QString& reply) {
            // On the way to a goal an object a line is printed, which a reply is not.
            if (request.json && !waits) {
                return output.line(base::jsonText(base::toJson(reply)));
            }
            return reply.isEmpty() || request.json ? ExitStatus::Done : output.line(escaped(reply));
        });
    };
    if (waits) {
        return actAndWait(request, { Wanted::Action, send, Goal::Counts::News, prepare }, output);
    }
    auto selected = select(request, { name }, Wanted::Action, output);
    if (!selected) {
        return tl::unexpected(selected.error());
    }
    if (!request.row.isEmpty()) {
        const auto prepared = selected->servers.list().and_then(
            [&](const Items& all) { return prepare(all, selected->servers); });
        if (!prepared) {
            return tl::unexpected(prepared.error());
        }
    }
    const Item& item = selected->items.first();
    return send(selected->servers.clientOf(item), item, [] {});
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

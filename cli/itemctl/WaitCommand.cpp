#include "Goal.h"
#include "JsonLine.h"

#include <nlohmann/json.hpp>

namespace itemctl {

base::Result<ExitStatus> wait(const Request& request, Output& output)
{
    const Patience patience(request);
    const auto conditions = GoalConditions::parse(request.arguments, request.unless);
    if (!conditions) {
        return tl::unexpected(conditions.error());
    }
    auto servers = serversFor(request, conditions->items());
    if (!servers) {
        return tl::unexpected(servers.error());
    }
    servers->setTimeout(patience.ofAnAnswer());
    LiveItems items(std::move(*servers));
    if (const auto started = items.start(); !started) {
        return tl::unexpected(started.error());
    }
    noteSilent(items.servers(), output);
    auto goal = Goal::of(*conditions, items);
    if (!goal) {
        return tl::unexpected(goal.error());
    }
    return goal->reach(patience, false, request, output).map([&](ExitStatus status) {
        return status == ExitStatus::Done && request.json
            ? output.line(base::jsonText(goal->expectations().json()))
            : status;
    });
}

} // namespace itemctl

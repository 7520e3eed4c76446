#include "Goal.h"
#include "JsonLine.h"
#include "Opening.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace itemctl {

base::Result<ExitStatus> wait(const Request& request, Output& output)
{
    const Patience patience = patienceOf(request);
    const auto conditions = GoalConditions::parse(request.arguments, request.unless);
    if (!conditions) {
        return tl::unexpected(conditions.error());
    }
    std::optional<Goal> goal;
    const auto live = openLive(request, conditions->items(), patience, output, [&](LiveItems& items) {
        return Goal::of(*conditions, items).map([&goal](const Goal& of) { goal = of; });
    });
    if (!live) {
        return tl::unexpected(live.error());
    }
    return goal->reach(patience, request, output).map([&](ExitStatus status) {
        return status == ExitStatus::Done && request.json
            ? output.line(base::jsonText(goal->expectations().json()))
            : status;
    });
}

} // namespace itemctl

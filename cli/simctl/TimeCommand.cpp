#include "Commands.h"
#include "JsonLine.h"
#include "ValueJson.h"
#include "simulationproxy.h"

#include <nlohmann/json.hpp>

namespace simctl {
namespace {

using cli::ExitStatus;

constexpr double LongestStep = 86'400;
constexpr double LargestSpeed = 1e6;

base::Result<ExitStatus> show(const Request& request, const SimulationClient& simulation, cli::Output& output)
{
    nlohmann::ordered_json record;
    for (const auto& [name, key] :
         { std::pair("Time", "time"), std::pair("Paused", "paused"), std::pair("Speed", "speed") }) {
        const auto value = simulation.property(name);
        if (!value) {
            return tl::unexpected(value.error());
        }
        record[key] = base::toJson(*value);
    }
    const QString text =
        QStringLiteral("%1 s, %2")
            .arg(record["time"].get<double>(), 0, 'f', 3)
            .arg(record["paused"].get<bool>()
                     ? QStringLiteral("standing")
                     : QStringLiteral("running at %1 times real time").arg(record["speed"].get<double>()));
    return output.line(request.json ? base::jsonText(record) : text);
}

} // namespace

base::Result<ExitStatus> driveTime(const Request& request, const SimulationClient& simulation,
                                   cli::Output& output)
{
    const QString word = request.arguments.value(0);
    bool isNumber = false;
    const double number = request.arguments.value(1).toDouble(&isNumber);
    const bool isAlone = request.arguments.size() == 1;
    if (request.arguments.isEmpty()) {
        return show(request, simulation, output);
    }
    if (isAlone && (word == QLatin1String("pause") || word == QLatin1String("resume"))) {
        return conclude(simulation.setProperty("Paused", word == QLatin1String("pause")));
    }
    if (word == QLatin1String("step") && isNumber && number >= 0 && number <= LongestStep) {
        return conclude(SimulationClient::answerOf(simulation.proxy().Step(number)));
    }
    if (word == QLatin1String("speed") && isNumber && number > 0 && number <= LargestSpeed) {
        return conclude(SimulationClient::answerOf(simulation.proxy().SetSpeed(number)));
    }
    return base::error(QStringLiteral("time takes \"pause\", \"resume\", \"step SECONDS\" (0 to 86400) or "
                                      "\"speed FACTOR\" (above 0 to 1000000)"),
                       base::Failure::Usage);
}

} // namespace simctl

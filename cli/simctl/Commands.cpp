#include "Commands.h"

#include "JsonLine.h"
#include "ValueJson.h"
#include "common/DisplayText.h"
#include "simulationproxy.h"

#include <nlohmann/json.hpp>

#include <QDBusArgument>

namespace simctl {

using cli::ExitStatus;

namespace {

/// The kind and what belongs to it, in the order in which the command takes them.
nlohmann::ordered_json faultJson(const QVariantMap& fault)
{
    nlohmann::ordered_json object;
    for (const char* name : { "kind", "name", "signature", "value", "seconds", "count" }) {
        const QVariant argument = fault.value(QLatin1String(name));
        if (qstrcmp(name, "value") == 0 && argument.isValid()) {
            object[name] = nlohmann::ordered_json::parse(argument.toString().toStdString(), nullptr, false);
        } else if (argument.isValid()) {
            object[name] = base::toJson(argument);
        }
    }
    return object;
}

} // namespace

base::Result<ExitStatus> conclude(const base::Result<>& answer)
{
    return answer.map([] { return ExitStatus::Done; });
}

base::Result<ExitStatus> driveFaults(const Request& request, const SimulationClient& simulation,
                                     cli::Output& output)
{
    if (!request.arguments.isEmpty()) {
        return conclude(SimulationClient::answerOf(simulation.proxy().SetFault(request.arguments)));
    }
    const auto faults = SimulationClient::answerOf(simulation.proxy().Faults());
    if (!faults) {
        return tl::unexpected(faults.error());
    }
    if (request.json) {
        auto list = nlohmann::ordered_json::array();
        for (const QVariantMap& fault : *faults) {
            list.push_back(faultJson(fault));
        }
        return output.line(base::jsonText(list));
    }
    QStringList lines;
    for (const QVariantMap& fault : *faults) {
        lines << cli::escaped(fault.value(QStringLiteral("text")).toString());
    }
    return output.lines(lines);
}

base::Result<ExitStatus> showCalls(const Request& request, const SimulationClient& simulation,
                                   cli::Output& output)
{
    const auto calls = SimulationClient::answerOf(simulation.proxy().Calls());
    if (!calls) {
        return tl::unexpected(calls.error());
    }
    QStringList lines;
    for (const QVariantMap& call : *calls) {
        nlohmann::ordered_json record;
        record["time"] = call.value(QStringLiteral("time")).toDouble();
        record["member"] = call.value(QStringLiteral("member")).toString().toStdString();
        record["arguments"] = base::toJson(call.value(QStringLiteral("arguments")));
        QStringList words;
        for (const auto& argument : record["arguments"]) {
            words << base::jsonText(argument);
        }
        lines << (request.json ? base::jsonText(record)
                               : QStringLiteral("%1  %2(%3)")
                                     .arg(call.value(QStringLiteral("time")).toDouble(), 10, 'f', 3)
                                     .arg(cli::escaped(call.value(QStringLiteral("member")).toString()),
                                          words.join(QStringLiteral(", "))));
    }
    return output.lines(lines);
}

} // namespace simctl

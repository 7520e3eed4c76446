#include "Commands.h"
#include "DeviceWords.h"
#include "FaultWords.h"
#include "JsonLine.h"
#include "ValueJson.h"
#include "WordTable.h"
#include "common/DisplayText.h"
#include "simulationproxy.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace simctl {
namespace {

using cli::ExitStatus;

/// In the order in which they are printed.
constexpr std::array Fields{ "address", "name", "class",   "rssi",   "pairing",    "pin",
                             "code",    "is",   "present", "paired", "connection", "pairState" };

QVariant field(const QVariantMap& device, const char* name)
{
    return device.value(QLatin1String(name));
}

QString stateText(const QVariantMap& device)
{
    constexpr int Settled = 100;
    const int pairState = field(device, "pairState").toInt();
    if (!field(device, "present").toBool()) {
        return field(device, "paired").toBool() ? QStringLiteral("away, paired") : QStringLiteral("away");
    }
    if (pairState > 0 && pairState < Settled) {
        return QStringLiteral("being paired");
    }
    if (field(device, "connection").toUInt() != 0) {
        return QStringLiteral("connected");
    }
    return field(device, "paired").toBool() ? QStringLiteral("paired") : QString();
}

/// How it pairs, with the PIN or the code that is asked for.
QString pairingText(const QVariantMap& device)
{
    const QString secret = field(device, "pin").toString() + field(device, "code").toString();
    const QString word = field(device, "pairing").toString();
    return secret.isEmpty() ? word : word + QLatin1Char(' ') + cli::escaped(secret);
}

QStringList cells(const QVariantMap& device)
{
    const QString name = cli::escaped(field(device, "name").toString());
    return { field(device, "address").toString(),
             name.isEmpty() ? QStringLiteral("-") : name,
             field(device, "rssi").toString() + QStringLiteral(" dBm"),
             pairingText(device),
             field(device, "is").toStringList().join(QLatin1Char(',')),
             stateText(device) };
}

/// Names come over the radio, and may be 248 bytes long; with --json they are whole. So most lines fit in 80
/// columns.
constexpr int WidestCell = 20;

QStringList tableOf(const QList<QVariantMap>& devices)
{
    QList<QStringList> rows;
    std::vector<int> widths;
    for (const QVariantMap& device : devices) {
        rows << cells(device);
        widths.resize(static_cast<std::size_t>(rows.last().size()));
        for (int column = 0; column < rows.last().size(); ++column) {
            int& width = widths[static_cast<std::size_t>(column)];
            width = std::max(width, std::min(cli::displayWidth(rows.last().at(column)), WidestCell));
        }
    }
    QStringList lines;
    for (const QStringList& row : qAsConst(rows)) {
        QString line;
        for (int column = 0; column < row.size(); ++column) {
            line +=
                cli::fitted(row.at(column), widths[static_cast<std::size_t>(column)]) + QStringLiteral("  ");
        }
        while (line.endsWith(QLatin1Char(' '))) {
            line.chop(1);
        }
        lines << line;
    }
    return lines;
}

QString jsonOf(const QVariantMap& device)
{
    nlohmann::ordered_json record;
    for (const char* name : Fields) {
        if (device.contains(QLatin1String(name))) {
            record[name] = base::toJson(field(device, name));
        }
    }
    return base::jsonText(record);
}

} // namespace

base::Result<ExitStatus> showDevices(const Request& request, const SimulationClient& simulation,
                                     cli::Output& output)
{
    return SimulationClient::answerOf(simulation.proxy().Devices())
        .map([&](const QList<QVariantMap>& devices) {
            QStringList lines;
            if (request.json) {
                std::transform(devices.begin(), devices.end(), std::back_inserter(lines), jsonOf);
            } else {
                lines = tableOf(devices);
            }
            return output.lines(lines);
        });
}

base::Result<ExitStatus> changeDevice(const Request& request, const SimulationClient& simulation,
                                      QDBusPendingReply<> (SimulationProxy::*change)(const QString&))
{
    return conclude(SimulationClient::answerOf((simulation.proxy().*change)(request.arguments.value(0))));
}

base::Result<ExitStatus> moveDevice(const Request& request, const SimulationClient& simulation,
                                    cli::Output& /*output*/)
{
    return conclude(SimulationClient::answerOf(simulation.proxy().MoveDevice(
        request.arguments.value(0), request.arguments.value(1).toInt(), request.seconds)));
}

base::Result<ExitStatus> answerPairing(const Request& request, const SimulationClient& simulation,
                                       cli::Output& /*output*/)
{
    return conclude(SimulationClient::answerOf(simulation.proxy().AnswerPairing(
        request.arguments.value(0), request.arguments.value(1) == QLatin1String("accept"))));
}

} // namespace simctl

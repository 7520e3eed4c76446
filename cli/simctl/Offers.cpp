#include "Commands.h"
#include "DeviceWords.h"
#include "FaultWords.h"
#include "WordTable.h"
#include "common/DisplayText.h"
#include "simulationproxy.h"

namespace simctl {
namespace {

QStringList devices(const SimulationClient& simulation)
{
    const auto found = SimulationClient::answerOf(simulation.proxy().Devices());
    QStringList names;
    for (const QVariantMap& device : found ? *found : QList<QVariantMap>()) {
        const QString name = device.value(QStringLiteral("name")).toString();
        names << device.value(QStringLiteral("address")).toString();
        if (!name.isEmpty() && cli::escaped(name) == name) {
            names << name;
        }
    }
    return names;
}

} // namespace

QStringList offers(const cli::CompletionPlace& place)
{
    constexpr int Patience = 1000; // milliseconds; somebody is in the middle of a command line
    if (place.kind == QLatin1String("KIND")) {
        return bt::wordsOf(bt::FaultWords);
    }
    if (place.kind == QLatin1String("ANSWER")) {
        return { QStringLiteral("accept"), QStringLiteral("refuse") };
    }
    if (place.kind == QLatin1String("WORD")) {
        return { QStringLiteral("pause"), QStringLiteral("resume"), QStringLiteral("step"),
                 QStringLiteral("speed") };
    }
    const auto simulation = SimulationClient::find();
    if (!simulation) {
        return {};
    }
    simulation->proxy().setTimeout(Patience);
    if (place.kind == QLatin1String("ARGUMENT")) {
        const bt::FaultWord* fault = bt::rowOf(bt::FaultWords, place.before.value(0));
        return simulation->daemonMembers(fault != nullptr ? fault->arguments : "");
    }
    return place.kind == QLatin1String("DEVICE") ? devices(*simulation) : QStringList();
}

} // namespace simctl

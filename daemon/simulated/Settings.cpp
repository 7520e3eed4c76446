#include "Settings.h"

#include "ScenarioFiles.h"
#include "SimulationClock.h"

namespace bt {

namespace {

tl::unexpected<base::Error> wrong(const char* variable, const QString& rule)
{
    return base::error(QStringLiteral("%1 is \"%2\" but has to be %3")
                           .arg(QLatin1String(variable), qEnvironmentVariable(variable), rule));
}

} // namespace

base::Result<Settings> Settings::fromEnvironment()
{
    Settings settings;
    bool isNumber = true;
    if (!qEnvironmentVariableIsEmpty("BLUESIM_TIME_SCALE")) {
        settings.timeScale = qgetenv("BLUESIM_TIME_SCALE").toDouble(&isNumber);
        if (!isNumber || !(settings.timeScale > 0) || settings.timeScale > SimulationClock::LargestScale) {
            return wrong("BLUESIM_TIME_SCALE", QStringLiteral("a number from above 0 to 1000000"));
        }
    }
    if (!qEnvironmentVariableIsEmpty("BLUESIM_SEED")) {
        settings.seed = qgetenv("BLUESIM_SEED").toUInt(&isNumber);
        if (!isNumber) {
            return wrong("BLUESIM_SEED", QStringLiteral("a whole number from 0 to 4294967295"));
        }
    }
    const QByteArray paused = qgetenv("BLUESIM_PAUSED");
    if (!paused.isEmpty() && paused != "0" && paused != "1") {
        return wrong("BLUESIM_PAUSED", QStringLiteral("0 or 1"));
    }
    settings.isPaused = paused == "1";
    settings.stateFile = qEnvironmentVariable("BLUESIM_STATE");
    QString name = qEnvironmentVariable("BLUESIM_SCENARIO");
    if (name.isEmpty()) {
        name = QLatin1String(DefaultScenario);
    }
    const auto file = findScenario(name);
    if (!file) {
        return base::error(QStringLiteral("BLUESIM_SCENARIO: %1").arg(file.error().text));
    }
    settings.scenarioFile = *file;
    return settings;
}

} // namespace bt

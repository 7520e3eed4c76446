#include "EndingSignals.h"
#include "Journal.h"
#include "Notice.h"
#include "ScenarioFiles.h"
#include "Settings.h"
#include "Simulation.h"
#include "Version.h"

#include <QCoreApplication>
#include <QDebug>

#include <cstdio>
#include <variant>

namespace {

constexpr int UsageError = 2;
constexpr int ArgumentCount = 4;

void printUsage()
{
    std::fputs(
        "usage: bluesim NAME 1 1\n"
        "       bluesim --check-scenario NAME|FILE\n"
        "       bluesim --version\n"
        "Simulates a Bluetooth radio and the devices around it, as com.qarn.bluetooth on the system bus.\n"
        "NAME is what other devices see. SIGTERM ends the program in order. The environment chooses:\n"
        "  BLUESIM_SCENARIO    who is around, by name or by the path of a file; \"room\" when it is not set\n"
        "  BLUESIM_SEED        a number for the radio's randomness; the same number, the same run\n"
        "  BLUESIM_TIME_SCALE  how many times faster than real time the devices are\n"
        "  BLUESIM_PAUSED      1: time stands still until \"simctl time\" drives it\n"
        "  BLUESIM_STATE       a file that keeps the paired devices; without it they are forgotten\n",
        stderr);
}

/// For whoever starts the program later and wants to know before.
int checkScenario(const QString& nameOrPath)
{
    const auto checked = bt::checkScenario(nameOrPath);
    if (!checked) {
        qCritical().noquote() << checked.error().text;
    }
    return checked ? 0 : UsageError;
}

/// The module hands over the host name as "hostname" printed it, line end included.
QString localName(QString argument)
{
    while (argument.endsWith(QLatin1Char('\n')) || argument.endsWith(QLatin1Char('\r'))) {
        argument.chop(1);
    }
    return argument;
}

int simulate(const bt::Settings& settings, const QString& name)
{
    const auto loaded = bt::loadScenario(settings.scenarioFile);
    if (!loaded) {
        bt::notice(loaded.error().text);
        return UsageError;
    }
    bt::Simulation simulation(settings, *loaded, name);
    // In the event loop, so that a problem at the start ends it.
    QMetaObject::invokeMethod(&simulation, &bt::Simulation::start, Qt::QueuedConnection);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    bt::writeJournalAs("bluesim");
    qSetMessagePattern(QStringLiteral("bluesim: %{message}"));
    base::resetInheritedSignals(); // whatever the parent blocked, SIGTERM ends this program
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (base::tellVersion("bluesim", arguments)) {
        return 0;
    }
    if (arguments.size() == 3 && arguments.at(1) == QLatin1String("--check-scenario")) {
        return checkScenario(arguments.at(2));
    }
    if (arguments.size() != ArgumentCount) {
        printUsage();
        return UsageError;
    }
    const auto settings = bt::Settings::fromEnvironment();
    if (!settings) {
        bt::notice(settings.error().text);
        return UsageError;
    }
    return simulate(*settings, localName(arguments.at(1)));
}

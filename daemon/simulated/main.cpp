#include "DaemonService.h"
#include "PairingStore.h"
#include "ScenarioFiles.h"
#include "Settings.h"
#include "SimulatedRadio.h"
#include "SimulationClock.h"
#include "Timeline.h"
#include "process/EndingSignals.h"

#include <QCoreApplication>
#include <QDBusConnection>
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
    const QString problem = bt::problemOf(nameOrPath);
    if (!problem.isEmpty()) {
        qCritical().noquote() << problem;
    }
    return problem.isEmpty() ? 0 : UsageError;
}

/// The module hands over the host name as "hostname" printed it, line end included.
QString localName(QString argument)
{
    while (argument.endsWith(QLatin1Char('\n')) || argument.endsWith(QLatin1Char('\r'))) {
        argument.chop(1);
    }
    return argument;
}

void applyPairings(bt::SimulatedRadio& radio, bt::PairingStore& store)
{
    if (const auto kept = store.load()) {
        radio.restorePairs(*kept);
    } else {
        radio.pairAsInRoom();
    }
    QObject::connect(&radio, &bt::Radio::pairListChanged, &radio,
                     [&store](const PairList& list) { store.save(list); });
}

int simulate(const bt::Settings& settings, const QString& name)
{
    const auto loaded = bt::loadScenario(settings.scenarioFile);
    if (const auto* problem = std::get_if<QString>(&loaded)) {
        qCritical().noquote() << *problem;
        return UsageError;
    }
    const process::EndingSignals signalsToEnd;
    QObject::connect(&signalsToEnd, &process::EndingSignals::received, qApp, &QCoreApplication::quit);

    const auto& scenario = std::get<bt::Scenario>(loaded);
    bt::SimulationClock clock(settings.timeScale);
    if (settings.isPaused) {
        clock.pause();
    }
    bt::SimulatedRadio::Identity identity;
    identity.name = name;
    bt::SimulatedRadio radio(identity, bt::Room(scenario.devices), clock, settings.seed);
    const bt::Timeline timeline(scenario.timeline, radio, clock);
    bt::PairingStore pairings(settings.stateFile);
    applyPairings(radio, pairings);
    bt::DaemonService service(radio);
    QObject::connect(&service, &bt::DaemonService::busLost, qApp, [] {
        qCritical() << "the system bus is gone";
        QCoreApplication::exit(1);
    });
    const QString problem = service.publish(QDBusConnection::systemBus());
    if (!problem.isEmpty()) {
        qCritical().noquote() << problem;
        return 1;
    }
    const int status = QCoreApplication::exec();
    service.withdraw();
    return status;
}

} // namespace

int main(int argc, char* argv[])
{
    qSetMessagePattern(QStringLiteral("bluesim: %{message}"));
    process::resetInheritedSignals(); // whatever the parent blocked, SIGTERM ends this program
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments.at(1) == QLatin1String("--check-scenario")) {
        return checkScenario(arguments.at(2));
    }
    if (arguments.size() != ArgumentCount) {
        printUsage();
        return UsageError;
    }
    const auto settings = bt::Settings::fromEnvironment();
    if (const auto* problem = std::get_if<QString>(&settings)) {
        qCritical().noquote() << *problem;
        return UsageError;
    }
    return simulate(std::get<bt::Settings>(settings), localName(arguments.at(1)));
}

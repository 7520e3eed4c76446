#include "DaemonService.h"
#include "PairingStore.h"
#include "SimulatedRadio.h"
#include "SimulationClock.h"
#include "process/EndingSignals.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDebug>

#include <cstdio>
#include <optional>

namespace {

constexpr int UsageError = 2;
constexpr int ArgumentCount = 4;
constexpr quint32 Seed = 1;

void printUsage()
{
    std::fputs(
        "usage: bluesim NAME 1 1\n"
        "Simulates a Bluetooth radio and the devices around it, as com.qarn.bluetooth on the system bus.\n"
        "NAME is what other devices see. BLUESIM_TIME_SCALE says how many times faster than real time the\n"
        "devices are; 1 when it is not set. BLUESIM_STATE names a file that keeps the paired devices; "
        "without\n"
        "it they are forgotten at the end. SIGTERM ends the program in order.\n",
        stderr);
}

/// None, after a message, when BLUESIM_TIME_SCALE is no number greater than 0.
std::optional<double> timeScale()
{
    const QByteArray text = qgetenv("BLUESIM_TIME_SCALE");
    if (text.isEmpty()) {
        return 1.0;
    }
    bool isNumber = false;
    const double scale = text.toDouble(&isNumber);
    if (isNumber && scale > 0 && scale <= 1e6) {
        return scale;
    }
    qCritical() << "BLUESIM_TIME_SCALE is" << text << "but has to be a number from above 0 to 1000000";
    return {};
}

/// The module hands over the host name as "hostname" printed it, line end included.
QString localName(QString argument)
{
    while (argument.endsWith(QLatin1Char('\n')) || argument.endsWith(QLatin1Char('\r'))) {
        argument.chop(1);
    }
    return argument;
}

} // namespace

int main(int argc, char* argv[])
{
    qSetMessagePattern(QStringLiteral("bluesim: %{message}"));
    process::resetInheritedSignals(); // whatever the parent blocked, SIGTERM ends this program
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != ArgumentCount) {
        printUsage();
        return UsageError;
    }
    const std::optional<double> scale = timeScale();
    if (!scale) {
        return UsageError;
    }

    const process::EndingSignals signalsToEnd;
    QObject::connect(&signalsToEnd, &process::EndingSignals::received, &application, &QCoreApplication::quit);

    bt::SimulationClock clock(*scale);
    bt::SimulatedRadio::Identity identity;
    identity.name = localName(arguments.at(1));
    bt::SimulatedRadio radio(identity, bt::Room::small(), clock, Seed);
    bt::DaemonService service(radio);
    bt::PairingStore pairings(qEnvironmentVariable("BLUESIM_STATE"));
    if (const auto kept = pairings.load()) {
        radio.restorePairs(*kept);
    }
    QObject::connect(&radio, &bt::Radio::pairListChanged, &radio,
                     [&pairings](const PairList& list) { pairings.save(list); });
    QObject::connect(&service, &bt::DaemonService::busLost, &application, [] {
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

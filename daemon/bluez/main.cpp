#include "BluezBus.h"
#include "BluezRadio.h"
#include "Checkup.h"
#include "DaemonService.h"
#include "EndingSignals.h"
#include "Journal.h"
#include "Notice.h"
#include "Version.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QLoggingCategory>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int UsageError = 2;
constexpr int ArgumentCount = 4;

void printUsage()
{
    std::fputs(
        "usage: bluezradio NAME 1 1\n"
        "       bluezradio --check [--json]\n"
        "       bluezradio --version\n"
        "Offers this machine's Bluetooth radio, by BlueZ, as com.qarn.bluetooth on the system bus.\n"
        "NAME is what other devices see.\n"
        "SIGTERM puts the adapter back as it was and ends the program.\n"
        "BLUEZ_ADAPTER             the adapter, by its address or as \"hci1\"; otherwise the lowest one\n"
        "BLUEZ_PRIVATE             when set, the adapter keeps its name, and is found by others as before\n"
        "BLUEZ_SERVICES            UUIDs of the services that paired devices may use, with commas between\n"
        "BLUEZ_SYSTEM_BUS_ADDRESS  the bus of bluetoothd, where that is another one\n"
        "--check looks at what the radio needs of this machine, and changes nothing: a line for each thing, "
        "with what\nto do about it. It ends with 0 when all is fine, 1 with a note, 3 when the radio cannot "
        "work.\n",
        stderr);
}

/// The module hands over the host name as "hostname" printed it, line end included.
QString localName(QString argument)
{
    while (argument.endsWith(QLatin1Char('\n')) || argument.endsWith(QLatin1Char('\r'))) {
        argument.chop(1);
    }
    return argument;
}

/// "--check" and "--check --json".
bool isCheck(const QStringList& arguments)
{
    return arguments.value(1) == QLatin1String("--check")
        && (arguments.size() == 2 || (arguments.size() == 3 && arguments.at(2) == QLatin1String("--json")));
}

[[noreturn]] void check(bool json)
{
    bt::Checkup checkup(qEnvironmentVariable("BLUEZ_SYSTEM_BUS_ADDRESS"),
                        qEnvironmentVariable("BLUEZ_ADAPTER"), qEnvironmentVariable("BLUEZ_CHECK_ROOT"));
    const int status = bt::printFindings(checkup.run(), json);
    std::fflush(stdout);
    std::_Exit(status); // at a usual end Qt waits for the thread that a bus holds up
}

} // namespace

/// In the place of Qt's own, for BluezQt: it knows no other bus, and Qt's does not come back when it has
/// ended.
QDBusConnection QDBusConnection::systemBus()
{
    return bt::BluezBus::connection();
}

int main(int argc, char* argv[])
{
    bt::writeJournalAs("bluezradio");
    qSetMessagePattern(QStringLiteral("bluezradio: %{message}"));
    QLoggingCategory::setFilterRules(QStringLiteral("kf.bluezqt*=false")); // we say what matters ourselves
    base::resetInheritedSignals(); // whatever the parent blocked, SIGTERM ends this program
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (base::tellVersion("bluezradio", arguments)) {
        return 0;
    }
    if (isCheck(arguments)) {
        check(arguments.size() == 3);
    }
    if (arguments.size() != ArgumentCount) {
        printUsage();
        return UsageError;
    }
    const base::EndingSignals signalsToEnd;
    QObject::connect(&signalsToEnd, &base::EndingSignals::received, &application, &QCoreApplication::quit);

    const QDBusConnection clients =
        QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("clients"));
    bt::BluezRadio radio(localName(arguments.at(1)), qEnvironmentVariable("BLUEZ_ADAPTER"),
                         !qEnvironmentVariableIsEmpty("BLUEZ_PRIVATE"));
    bt::DaemonService service(radio);
    QObject::connect(&service, &bt::DaemonService::busLost, &application, [] {
        bt::notice(QStringLiteral("the system bus is gone"));
        QCoreApplication::exit(1);
    });
    const QString problem = service.publish(clients);
    if (!problem.isEmpty()) {
        bt::notice(problem);
        return 1;
    }
    const int status = QCoreApplication::exec();
    service.disconnect(&application); // who ends us may end the bus at once
    service.withdraw();
    return status;
}

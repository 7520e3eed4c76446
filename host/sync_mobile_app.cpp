// sync_mobile_app: serves the stand-in of the mobile synchronisation module on the session bus, until SIGTERM
// or SIGINT. Its configs, of which there are none, would be kept in the folder that is its only argument.

#include "MobileSyncModule.h"

#include "BusLoss.h"
#include "EndingSignals.h"
#include "Version.h"
#include "bus/ItemServer.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("sync_mobile_app"));
    const QStringList arguments = QCoreApplication::arguments();
    if (base::tellVersion("sync_mobile_app", arguments)) {
        return 0;
    }
    if (arguments.size() != 2 || arguments[1].startsWith(QLatin1Char('-'))) {
        std::fputs("usage: sync_mobile_app STATE-FOLDER\n", stderr);
        return 2;
    }
    const base::EndingSignals ending;
    QObject::connect(&ending, &base::EndingSignals::received, &application, &QCoreApplication::quit);

    const base::BusLoss busLoss(QDBusConnection::sessionBus());
    QObject::connect(&busLoss, &base::BusLoss::lost, &application, [] {
        std::fputs("sync_mobile_app: the session bus has ended\n", stderr);
        QCoreApplication::exit(1);
    });

    MobileSyncModule module(nullptr);
    ipc::ItemServer server(QDBusConnection::sessionBus(), arguments[1]);
    server.addModule(module);
    if (const auto started = server.start(); !started) {
        std::fprintf(stderr, "sync_mobile_app: %s\n", qPrintable(started.error().message));
        return 1;
    }
    const int status = QCoreApplication::exec();
    server.halt();
    return status;
}

#include "Launcher.h"

#include "ModuleFile.h"
#include "Options.h"

#include "BusLoss.h"
#include "EndingSignals.h"
#include "RegistrationModule.h"
#include "bus/ItemServer.h"
#include "items/ForkGuard.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QLocale>
#include <QTranslator>

#include <cstdio>

namespace host {
namespace {

constexpr int UsageStatus = 2;

/// A forked copy of this process comes back out of the module when the controller program cannot be executed.
/// It leaves here at the latest, at the end of the event in which it came to be.
class Application : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        const bool handled = QCoreApplication::notify(receiver, event);
        ipc::leaveIfForked();
        return handled;
    }
};

int fail(const QString& what)
{
    std::fprintf(stderr, "bluetoothlauncher: %s\n", qPrintable(what));
    return 1;
}

// Before the module is constructed: it translates its labels once, when it creates its items.
void installTranslation(QTranslator& translator)
{
    const QString folder =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/bluetoothlauncher/translations");
    if (translator.load(QLocale(), QStringLiteral("bluetooth"), QStringLiteral("_"), folder)) {
        QCoreApplication::installTranslator(&translator);
    }
}

// Neither comes back by itself: without the session bus nobody reaches the items, without the system bus the
// module shows for ever what it saw last. A new host finds the new bus, and the stored configs.
void endWithBus(const base::BusLoss& bus, const char* name)
{
    QObject::connect(&bus, &base::BusLoss::lost, qApp, [name] {
        QCoreApplication::exit(
            fail(QStringLiteral("the %1 bus has ended; start this program again when it is "
                                "back, all configs are stored")
                     .arg(QLatin1String(name))));
    });
}

int serve(ModuleFactory createModule, const QString& stateFolder)
{
    const base::EndingSignals signalsToEnd;
    QObject::connect(&signalsToEnd, &base::EndingSignals::received, qApp, &QCoreApplication::quit);
    const QDBusConnection systemBus = QDBusConnection::systemBus();
    if (!systemBus.isConnected()) {
        return fail(QStringLiteral("there is no system bus to find the Bluetooth daemon on (%1); "
                                   "DBUS_SYSTEM_BUS_ADDRESS has to name one")
                        .arg(systemBus.lastError().message()));
    }
    const base::BusLoss systemBusLoss(systemBus);
    endWithBus(systemBusLoss, "system");
    const base::BusLoss sessionBusLoss(QDBusConnection::sessionBus());
    endWithBus(sessionBusLoss, "session");
    QObject modules;
    RegistrationModule* const module = createModule(&modules);
    ipc::ItemServer server(QDBusConnection::sessionBus(), stateFolder);
    server.addModule(*module);
    if (const auto started = server.start(); !started) {
        return fail(started.error().message);
    }

    const int status = QCoreApplication::exec();
    // The controller is left to the kernel, which ends it together with this process.
    server.halt();
    return status;
}

} // namespace

int launch(int argc, char** argv)
{
    base::resetInheritedSignals();
    ipc::guardThisProcess();
    Application app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("bluetoothlauncher"));
    const auto options = readOptions(QCoreApplication::arguments());
    if (!options) {
        fail(options.error().text);
        return UsageStatus;
    }
    if (!options->help.isEmpty()) {
        std::fputs(qPrintable(options->help), stdout);
        return 0;
    }
    QTranslator translator;
    installTranslation(translator);

    const QString file = options->moduleFile.isEmpty() ? defaultModuleFile() : options->moduleFile;
    const auto createModule = openModule(file);
    if (!createModule) {
        return fail(createModule.error().text);
    }
    return serve(*createModule, options->stateFolder);
}

} // namespace host

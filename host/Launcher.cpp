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

int fail(const QString& what)
{
    std::fprintf(stderr, "bluetoothlauncher: %s\n", qPrintable(what));
    return 1;
}

/// The module of which an object is a part, as far as its parents tell.
QString moduleOf(const QObject* object)
{
    for (; object != nullptr; object = object->parent()) {
        if (const auto* module = qobject_cast<const RegistrationModule*>(object)) {
            return QStringLiteral("the module \"%1\"").arg(module->moduleName());
        }
    }
    return QStringLiteral("a module");
}

/// A forked copy of this process comes back out of the module when the controller program cannot be executed.
/// It leaves here at the latest, at the end of the event in which it came to be.
///
/// What a module throws ends here as well, and the host with it, in order: nobody knows in which state that
/// module is, and the configs of the others are stored.
class Application : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        bool handled = true;
        QString fault;
        try {
            handled = QCoreApplication::notify(receiver, event);
        } catch (...) {
            fault = thrownText();
        }
        ipc::leaveIfForked();
        if (!fault.isEmpty()) {
            exit(fail(QStringLiteral("%1 failed: %2; the host ends, all configs are stored")
                          .arg(moduleOf(receiver), fault)));
        }
        return handled;
    }
};

/// A step of the server that calls its modules, outside of any event.
template <typename Step>
ipc::Outcome<ipc::Done> guarded(const ipc::ItemServer& server, const Step& step)
{
    try {
        return step();
    } catch (...) {
        const QString fault = thrownText();
        ipc::leaveIfForked();
        return ipc::Error{ ipc::Error::Kind::Failed,
                           QStringLiteral("one of the modules %1 failed: %2")
                               .arg(server.modules().join(QStringLiteral(", ")), fault) };
    }
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

int serve(const Options& options)
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
    const auto made = makeModules(QStringList(defaultModuleFile()) + options.moduleFiles, modules);
    if (!made) {
        return fail(made.error().text);
    }
    ipc::ItemServer server(QDBusConnection::sessionBus(), options.stateFolder);
    const auto started = guarded(server, [&] {
        for (RegistrationModule* module : *made) {
            server.addModule(*module);
        }
        return server.start();
    });
    if (!started) {
        return fail(started.error().message);
    }

    const int status = QCoreApplication::exec();
    // The controller is left to the kernel, which ends it together with this process.
    const auto halted = guarded(server, [&] {
        server.halt();
        return ipc::Done();
    });
    return halted ? status : fail(halted.error().message);
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
    if (!options->answer.isEmpty()) {
        std::fputs(qPrintable(options->answer), stdout);
        return 0;
    }
    QTranslator translator;
    installTranslation(translator);
    return serve(*options);
}

} // namespace host

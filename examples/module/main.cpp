// A server on the session bus with one module, the lamp.
//
//     $ lamp &
//     $ itemctl set brightness 80
//     $ itemctl call off

#include <ipc/ItemServer.h>
#include <ipc/ModuleEntry.h>

#include <QCoreApplication>
#include <QStandardPaths>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("lamps"); // on the bus it is tov.base.lamps

    RegistrationModule* lamp = createModule(&application);
    // The setting is kept in lamps.json of this folder.
    ipc::ItemServer server(QDBusConnection::sessionBus(),
                           QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
    server.addModule(*lamp);
    if (const auto started = server.start(); !started) {
        std::fprintf(stderr, "lamp: %s\n", qPrintable(started.error().message));
        return 1;
    }
    return QCoreApplication::exec();
}

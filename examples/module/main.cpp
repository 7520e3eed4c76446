// A server on the session bus with one module: a lamp that has a setting and a command.
//
//     $ lamp &
//     $ itemctl set brightness 80
//     $ itemctl call off

#include <ipc/ItemServer.h>
#include <ipc/RegistrationModule.h>

#include <QCoreApplication>
#include <QStandardPaths>

#include <cstdio>

class Lamp : public RegistrationModule
{
public:
    Lamp()
        : RegistrationModule("lamp", nullptr)
    {
        addConfig("brightness", "Brightness in Percent", 50, EMPTYQS, 1).first()->setRange(0, 100);
        AddActionNullParam("off", "Switch Off", [this] { setConfig("brightness", 0, true); });
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("lamps"); // on the bus it is tov.base.lamps

    Lamp lamp;
    // The setting is kept in lamps.json of this folder.
    ipc::ItemServer server(QDBusConnection::sessionBus(),
                           QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
    server.addModule(lamp);
    if (const auto started = server.start(); !started) {
        std::fprintf(stderr, "lamp: %s\n", qPrintable(started.error().message));
        return 1;
    }
    return QCoreApplication::exec();
}

#include "Tour.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    if (argc > 1) {
        const bool help = std::strcmp(argv[1], "--help") == 0;
        std::fputs("Usage: bluetoothtour\n"
                   "Walks through the Bluetooth module of the session bus and tells what happens; ./run tour "
                   "does so\n"
                   "in a private world. Exit status: 0 when every step was seen to happen, otherwise 1.\n",
                   help ? stdout : stderr);
        return help ? 0 : 2;
    }
    const QCoreApplication application(argc, argv);
    KELClientInterface server(QStringLiteral("tov.base.bluetoothlauncher"), QDBusConnection::sessionBus());
    world::Tour tour(server);
    return tour.run() ? 0 : 1;
}

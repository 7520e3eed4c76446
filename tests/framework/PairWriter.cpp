// pair_writer STATE-FOLDER: a server of two modules that writes both pairs of configs anew in every turn of
// its event loop, until it is killed.

#include "PairModule.h"

#include "bus/ItemServer.h"

#include <QCoreApplication>

#include <cstdio>
#include <functional>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("pairs");
    PairModule one("one");
    PairModule two("two");
    ipc::ItemServer server(QDBusConnection::sessionBus(), QCoreApplication::arguments().value(1));
    server.addModule(one);
    server.addModule(two);
    if (const auto started = server.start(); !started) {
        std::fprintf(stderr, "%s\n", qPrintable(started.error().message));
        return 1;
    }
    std::function<void()> writeOn;
    writeOn = [&] {
        const int next = one.pair().first + 1;
        one.setPair(next);
        two.setPair(next);
        QMetaObject::invokeMethod(&application, writeOn, Qt::QueuedConnection);
    };
    writeOn();
    return QCoreApplication::exec();
}

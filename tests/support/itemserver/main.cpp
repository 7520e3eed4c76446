// item_test_server SERVER STATE-FOLDER MODULE…: serves demonstration modules on the session bus until
// SIGTERM.

#include "DemoModule.h"

#include "bus/ItemServer.h"

#include <QCoreApplication>
#include <QDebug>

#include <csignal>
#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fputs("usage: item_test_server SERVER STATE-FOLDER MODULE…\n", stderr);
        return 2;
    }
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QCoreApplication::setApplicationName(arguments[1]);
    ipc::ItemServer server(QDBusConnection::sessionBus(), arguments[2]);
    for (const QString& name : arguments.mid(3)) {
        server.addModule(*new DemoModule(name, &application));
    }
    if (const auto started = server.start(); !started) {
        qCritical().noquote() << started.error().message;
        return 1;
    }
    return QCoreApplication::exec();
}

// secondradio ADDRESS: bluetoothd and two emulated controllers, the second of which radio2 drives by ADDRESS.
// It prints a line when all is ready.
#include "EndingSignals.h"
#include "RadioDriver.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    if (argc != 2 || !QByteArray(argv[1]).startsWith("unix:")) {
        std::fputs("usage: secondradio unix:path=SOCKET\n", stderr);
        return 2;
    }
    const QCoreApplication application(argc, argv);
    const base::EndingSignals signalsToEnd;
    QObject::connect(&signalsToEnd, &base::EndingSignals::received, &application, &QCoreApplication::quit);
    EmulatedControllers machine;
    std::unique_ptr<RadioDriver> driver;
    const auto ready = machine.start().and_then([&] {
        driver = std::make_unique<RadioDriver>(machine, QString::fromLocal8Bit(argv[1]));
        return driver->start();
    });
    if (!ready) {
        std::fprintf(stderr, "secondradio: %s\n", qPrintable(ready.error().text));
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

// A host without a module, for tests of the world around it. $STAND_IN_HOST makes it misbehave: "fails" ends
// before it is ready, "hangs" never gets ready, "deaf" does not hear SIGTERM.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QSocketNotifier>

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // a log shows what was said, also of one that is killed
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    const int termination = signalfd(-1, &set, SFD_CLOEXEC);

    const QCoreApplication application(argc, argv);
    const QByteArray how = qgetenv("STAND_IN_HOST");
    if (argc != 3 || qstrcmp(argv[1], "--state") != 0 || how == "fails") {
        std::fputs(
            "dbus-daemon[7]: org.freedesktop.DBus.Error.AccessDenied: Failed to set fd limit to 65536: "
            "Operation not permitted\nbluetooth has no config \"state\"\n"
            "dbus-daemon[7]: [session uid=0 pid=7] Connection :1.4 (uid=0 pid=5 comm=\"./run \") became a "
            "monitor.\ndbus-daemon[7]: [session uid=0 pid=7] Monitoring connection :1.4 closed.\n"
            "lamp has no config \"state\"\nhost: the configs cannot be read\n",
            stderr);
        return 3;
    }
    const QSocketNotifier terminated(termination, QSocketNotifier::Read);
    QObject::connect(&terminated, &QSocketNotifier::activated, &application, [&how, termination] {
        signalfd_siginfo signal{};
        if (read(termination, &signal, sizeof signal) != sizeof signal) {
            return;
        }
        std::puts("host: shut down in order");
        if (how != "deaf") {
            QCoreApplication::exit(0);
        }
    });
    std::printf("host: state in %s\n", argv[2]);
    if (how != "hangs") {
        QDBusConnection::sessionBus().registerService("tov.base.bluetoothlauncher");
    }
    return QCoreApplication::exec();
}

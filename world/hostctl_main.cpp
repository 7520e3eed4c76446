// hostctl: has the world that it stands in restart, stop or kill its host.
#include "HostControl.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

#include <cstdio>
#include <exception>

namespace {

enum Status { Failed = 1, Usage = 2, NoWorld = 5 };

constexpr int Patience = 60'000; // ms; longer than the world waits for a host

int request(const std::string& word)
{
    QString method = QString::fromStdString(word);
    method[0] = method[0].toUpper();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QDBusMessage reply = bus.call(
        QDBusMessage::createMethodCall(QLatin1String(world::ControlName), QLatin1String(world::ControlPath),
                                       QLatin1String(world::ControlInterface), method),
        QDBus::Block, Patience);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        return 0;
    }
    const bool isNoWorld = !bus.isConnected() || QDBusError(reply).type() == QDBusError::ServiceUnknown;
    std::fprintf(stderr, "hostctl: %s\n",
                 isNoWorld ? "there is no world here; it works in what \"./run -- COMMAND\" starts"
                           : qPrintable(reply.errorMessage()));
    return isNoWorld ? NoWorld : Failed;
}

int control(int argc, char** argv)
{
    CLI::App app(
        "Starts, stops and kills the host of the world around it, so that clients can be seen when their "
        "server goes and comes. Its configs stay. Returns when the host is ready, or gone with its name.",
        "hostctl");
    app.add_subcommand("restart", "ends the host in order, if it runs, and starts it");
    app.add_subcommand("stop", "ends the host in order");
    app.add_subcommand("start", "starts the host, unless it runs");
    app.add_subcommand("kill", "kills the host, as a crash would end it");
    app.add_subcommand("freeze", "holds the host: it stays on the bus and answers nothing");
    app.add_subcommand("thaw", "lets a frozen host go on");
    app.require_subcommand(1);
    app.footer("Exit status: 0 done; 1 failed; 2 usage; 5 there is no world here.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        return app.exit(asked);
    } catch (const CLI::ParseError&) {
        std::fprintf(
            stderr,
            "hostctl: one of restart, stop, start, kill, freeze and thaw is expected, and nothing else; "
            "see hostctl --help\n");
        return Usage;
    }
    const QCoreApplication application(argc, argv);
    return request(app.get_subcommands().front()->get_name());
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return control(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "hostctl: %s\n", error.what());
        return Failed;
    }
}

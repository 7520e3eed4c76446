// hostctl: has the world that it stands in restart, stop or kill its host.
#include "HostControlNames.h"
#include "common/Program.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <cstdio>
#include <exception>

namespace {

using cli::ExitStatus;

constexpr int Patience = 60'000; // ms; longer than the world waits for a host

base::Result<ExitStatus> ask(const std::string& subcommand)
{
    QString method = QString::fromStdString(subcommand);
    method[0] = method[0].toUpper();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QDBusMessage reply = bus.call(
        QDBusMessage::createMethodCall(QLatin1String(world::ControlName), QLatin1String(world::ControlPath),
                                       QLatin1String(world::ControlInterface), method),
        QDBus::Block, Patience);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        return ExitStatus::Done;
    }
    if (!bus.isConnected() || QDBusError(reply).type() == QDBusError::ServiceUnknown) {
        return base::error(
            QStringLiteral("there is no world here; it works in what \"./run -- COMMAND\" starts"),
            base::Failure::NoServer);
    }
    return base::error(reply.errorMessage());
}

int control(int argc, char** argv)
{
    CLI::App app(
        "Starts, stops and kills the host of the world around it, so that clients can be seen when their "
        "server goes and comes. Its configs stay. Returns when the host is ready, or gone with its name.",
        "hostctl");
    app.require_subcommand(1);
    app.footer("Exit status: 0 done, 1 failed, 2 usage, 5 there is no world here.");
    app.add_subcommand("restart", "Ends the host in order, if it runs, and starts it");
    app.add_subcommand("stop", "Ends the host in order");
    app.add_subcommand("start", "Starts the host, unless it runs");
    app.add_subcommand("kill", "Kills the host, as a crash would end it");
    app.add_subcommand("freeze", "Holds the host: it stays on the bus and answers nothing");
    app.add_subcommand("thaw", "Lets a frozen host go on");
    return cli::runProgram(
        app, argc, argv,
        [&app](cli::Output& /*output*/) { return ask(app.get_subcommands().front()->get_name()); },
        [](const cli::CompletionPlace& /*place*/) { return QStringList(); });
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return control(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "hostctl: %s\n", error.what());
        return static_cast<int>(ExitStatus::Failed);
    }
}

#include "Tour.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>
#include <QDBusConnection>

#include <chrono>
#include <cstdio>
#include <exception>

namespace {

constexpr int Usage = 2;

int walk(int argc, char** argv)
{
    CLI::App app(
        "Walks through the Bluetooth module of the session bus and tells what happens; ./run tour does so in "
        "a private world. Exit status: 0 when every step was seen to happen, otherwise 1.",
        "bluetoothtour");
    double seconds = 30;
    app.add_option("--timeout", seconds, "how long a step may take, in seconds")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : Usage;
    }
    const QCoreApplication application(argc, argv);
    KELClientInterface server(QStringLiteral("tov.base.bluetoothlauncher"), QDBusConnection::sessionBus());
    const auto limit =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
    world::Tour tour(server, limit);
    return tour.run() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return walk(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bluetoothtour: %s\n", error.what());
        return Usage;
    }
}

#include "Options.h"

#include <CLI/CLI.hpp>

#include <QDir>
#include <QFile>

namespace host {
namespace {

constexpr int UsageStatus = 2;

QString defaultStateFolder()
{
    QString base = qEnvironmentVariable("XDG_STATE_HOME");
    // A relative path is as good as none, by the rules for XDG base directories.
    if (!QDir::isAbsolutePath(base)) {
        base = QDir::homePath() + QStringLiteral("/.local/state");
    }
    return base + QStringLiteral("/bluetoothlauncher");
}

} // namespace

std::optional<Options> readOptions(int argc, char** argv, int* exitStatus)
{
    CLI::App app("Serves the Bluetooth module's items on the session bus, until SIGTERM or SIGINT.",
                 "bluetoothlauncher");
    std::string state = QFile::encodeName(defaultStateFolder()).toStdString();
    std::string module;
    app.add_option("--state", state, "Folder that keeps the configs; made when it is missing")
        ->type_name("DIR")
        ->capture_default_str();
    app.add_option("--module", module, "The module to load (default: ../lib/bluetooth-entry.so)")
        ->type_name("FILE");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        *exitStatus = app.exit(error) == 0 ? 0 : UsageStatus;
        return std::nullopt;
    }
    return Options{ QFile::decodeName(state.c_str()), QFile::decodeName(module.c_str()) };
}

} // namespace host

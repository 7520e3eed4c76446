#include "CommandLine.h"

#include "ScenarioFiles.h"
#include "World.h"
#include "base/NearestOption.h"
#include "base/Quoted.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace world {

namespace {

constexpr int Usage = 2;
constexpr int Unavailable = 69;

Parsed refuse(int status, const QString& text)
{
    return { std::nullopt, { status, QStringLiteral("bluetoothworld: %1\n").arg(text) } };
}

QString absolute(const std::string& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(QFile::decodeName(path.c_str())));
}

/// The options as they were typed.
struct Options
{
    std::string radio = "sim";
    std::string scenario;
    std::string state;
    std::string log;
    std::string host;
    bool tour = false;
};

/// The forms of the command, which the library would draw as one line.
class Help : public CLI::Formatter
{
public:
    [[nodiscard]] std::string make_usage(const CLI::App* /*app*/, const std::string /*name*/) const override
    {
        return "Usage: ./run [OPTION...]                       a live view of the items on a terminal, else "
               "the tour\n"
               "       ./run [OPTION...] tour                  a narrated walk: scan, pair, connect, unpair\n"
               "       ./run [OPTION...] -- COMMAND [ARG...]   COMMAND in the world; its exit status is "
               "ours\n";
    }
};

void describe(CLI::App& app, Options& options)
{
    app.formatter(std::make_shared<Help>());
    app.footer(
        "In the world: private system and session buses, the host with the module loaded and ready, a\n"
        "stand-in of the mobile synchronisation module, an empty /tmp, the radio's controller at\n"
        "/usr/bin/blue_controller_zq4, and itemctl and simctl in PATH. It ends with COMMAND, and leaves\n"
        "nothing behind.\n"
        "Exit status: that of COMMAND, 128+n when signal n ended it, 126 or 127 when it could not be\n"
        "started; 2 usage; 69 when the world could not be set up.");
    app.add_option("--radio", options.radio,
                   "who plays the radio: sim (simulated), bluez (this machine's, by BlueZ), or any program")
        ->type_name("sim|bluez|PROGRAM")
        ->capture_default_str();
    app.add_option("--scenario", options.scenario,
                   "the simulated radio's surroundings (a small room of devices)")
        ->type_name("NAME|FILE")
        ->check([](const std::string& text) {
            return text.empty() ? std::string("an empty text names no scenario") : std::string();
        });
    app.add_option("--state", options.state, "where the host keeps its configs (fresh for each call)")
        ->type_name("DIR");
    app.add_option("--log", options.log,
                   "takes the output of buses, host and controller (shown only on failure; what a person\n"
                   "should know at once, its lines \"notice: ...\", always is)")
        ->type_name("FILE");
    app.add_option("--host", options.host, "the program that loads the module")
        ->group(""); // for trials, unlisted
    app.add_subcommand("tour", "a narrated walk through the world")->callback([&options] {
        options.tour = true;
    });
    app.require_subcommand(0, 1);
}

/// @return empty, or why there is no such controller.
Parsed findController(const std::string& radio, CommandLine& line)
{
    if (radio == "sim" || radio == "bluez") {
        line.machineBus = radio == "bluez";
        line.controller = World::binFolder()
            + (line.machineBus ? QStringLiteral("/bluezradio") : QStringLiteral("/bluesim"));
        if (!QFileInfo(line.controller).isExecutable()) {
            return refuse(Unavailable,
                          QStringLiteral("--radio %1: its program %2 is not built")
                              .arg(QString::fromStdString(radio), line.controller));
        }
        return { line, {} };
    }
    line.controller = absolute(radio);
    const QFileInfo program(line.controller);
    if (!program.exists()) {
        return refuse(Usage,
                      QStringLiteral("--radio %1: there is no such program; give sim, bluez or the path of "
                                     "an executable")
                          .arg(QString::fromStdString(radio)));
    }
    if (!program.isFile() || !program.isExecutable()) {
        return refuse(Usage,
                      QStringLiteral("--radio %1: this is not an executable program").arg(line.controller));
    }
    line.named << program.path() << QFileInfo(program.canonicalFilePath()).path();
    return { line, {} };
}

/// @return empty, or what is wrong with the scenario; the radio would say so only when somebody switches it
/// on.
QString resolveScenario(const QString& nameOrPath, CommandLine& line)
{
    line.scenario = nameOrPath;
    if (!bt::scenarioNames().contains(nameOrPath)
        && (nameOrPath.contains(QLatin1Char('/')) || QFileInfo::exists(nameOrPath))) {
        line.scenario = absolute(QFile::encodeName(nameOrPath).toStdString());
        line.named << line.scenario;
    }
    return bt::problemOf(line.scenario);
}

/// @return empty, or what is wrong with a folder or file that was named.
QString resolvePaths(const Options& options, CommandLine& line)
{
    const QString scenario = QFile::decodeName(options.scenario.c_str());
    if (!scenario.isEmpty()) {
        const QString problem = resolveScenario(scenario, line);
        if (!problem.isEmpty()) {
            return QStringLiteral("--scenario: %1").arg(problem);
        }
    }
    if (!options.state.empty()) {
        line.state = absolute(options.state);
        if (!QDir().mkpath(line.state) || !QFileInfo(line.state).isWritable()) {
            return QStringLiteral("--state %1: this folder cannot be made or written").arg(line.state);
        }
        line.named << line.state;
    }
    if (!options.host.empty()) {
        line.host = absolute(options.host);
        line.named << line.host;
    }
    if (!options.log.empty()) {
        line.log = absolute(options.log);
        // A FIFO's reader would take this for its end.
        const QFileInfo present(line.log);
        const bool isSpecial = present.exists() && !present.isFile() && !present.isDir();
        if (isSpecial ? !present.isWritable()
                      : !QFile(line.log).open(QIODevice::WriteOnly | QIODevice::Append)) {
            return QStringLiteral("--log %1: this file cannot be written").arg(line.log);
        }
        line.named << line.log;
    }
    return {};
}

/// What to say of words in front of "--" that are neither options nor the tour.
QString unexpected(const CLI::App& app)
{
    const std::vector<std::string> words = app.remaining(true);
    const auto isOption = [](const std::string& word) {
        return word.size() > 1 && word.front() == '-';
    };
    const auto option = std::find_if(words.begin(), words.end(), isOption);
    if (option != words.end()) {
        const QString reason = base::unknownOption(app, *option);
        return reason.endsWith(QLatin1Char('?')) ? reason : reason + QStringLiteral("; see --help");
    }
    QStringList command;
    for (const std::string& word : words) {
        command << QString::fromStdString(word);
    }
    if (!base::nearestWord(command.first(), { QStringLiteral("tour") }).isEmpty()) {
        return QStringLiteral("%1 is no option; did you mean \"tour\"?").arg(base::quoted(command.first()));
    }
    return QStringLiteral("%1 is no option: what to run comes behind \"--\", like ./run -- %2; see --help")
        .arg(base::quoted(command.first()), command.join(QLatin1Char(' ')));
}

QStringList defaultCommand(bool* isTour)
{
    *isTour = *isTour || isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0;
    return *isTour ? QStringList{ World::binFolder() + QStringLiteral("/bluetoothtour") }
                   : QStringList{ QStringLiteral("itemctl"), QStringLiteral("top") };
}

Parsed complete(const Options& options, const std::vector<std::string>& command)
{
    CommandLine line;
    line.isTour = options.tour;
    for (const std::string& word : command) {
        line.command << QFile::decodeName(word.c_str());
        if (word.find('/') != std::string::npos) {
            line.named << absolute(word);
        }
    }
    if (line.command.isEmpty()) {
        line.command = defaultCommand(&line.isTour);
        line.isLiveView = !line.isTour;
    }
    const QString problem = resolvePaths(options, line);
    return problem.isEmpty() ? findController(options.radio, line) : refuse(Usage, problem);
}

} // namespace

Parsed parseCommandLine(int count, char* const* arguments)
{
    const std::vector<std::string> words(arguments + 1, arguments + count);
    const auto dashes = std::find(words.begin(), words.end(), "--");
    const std::vector<std::string> command(dashes == words.end() ? dashes : dashes + 1, words.end());

    Options options;
    CLI::App app;
    describe(app, options);
    try {
        app.parse(std::vector<std::string>(std::make_reverse_iterator(dashes), words.rend()));
    } catch (const CLI::CallForHelp&) {
        return { std::nullopt, { 0, QString::fromStdString(app.help()) } };
    } catch (const CLI::ExtrasError&) {
        if (words.front() == "help") {
            return { std::nullopt, { 0, QString::fromStdString(app.help()) } };
        }
        return refuse(Usage, unexpected(app));
    } catch (const CLI::ParseError& error) {
        return refuse(Usage, QString::fromStdString(error.what()) + QStringLiteral("; see --help"));
    }
    if (dashes != words.end() && (command.empty() || command.front().empty())) {
        return refuse(Usage, QStringLiteral("there is no COMMAND behind \"--\"; see --help"));
    }
    if (options.tour && !command.empty()) {
        return refuse(Usage, QStringLiteral("either \"tour\" or \"-- COMMAND\", not both; see --help"));
    }
    return complete(options, command);
}

} // namespace world

#include "RunOptions.h"

#include "NearestOption.h"
#include "Quoted.h"
#include "ScenarioFiles.h"
#include "Version.h"
#include "World.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace world {

namespace {

tl::unexpected<base::Error> misused(const QString& text)
{
    return base::error(text, base::Failure::Usage);
}

QString absolute(const std::string& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(QFile::decodeName(path.c_str())));
}

/// The options as they were typed.
struct TypedOptions
{
    std::string radio = "sim";
    std::string adapter;
    std::string scenario;
    std::string state;
    std::string log;
    std::string host;
    std::vector<std::string> modules;
    bool check = false;
    bool json = false;
    bool isPrivate = false;
    bool on = false;
    bool tour = false;
};

/// The forms of the command, which the library would draw as one run.
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

void describe(CLI::App& app, TypedOptions& typed)
{
    app.formatter(std::make_shared<Help>());
    app.footer(
        "In the world: private system and session buses, the host with the module loaded and ready, a\n"
        "stand-in of the mobile synchronisation module, an empty /tmp, the radio's controller at\n"
        "/usr/bin/blue_controller_zq4; itemctl, simctl and hostctl in PATH. It ends with COMMAND, and\n"
        "leaves nothing behind.\n"
        "Exit status: that of COMMAND, 128+n when signal n ended it, 126 or 127 when it could not be\n"
        "started; 2 usage; 69 when the world could not be set up.");
    app.set_version_flag("--version", base::versionOf("bluetoothworld"), "print the version and exit");
    app.add_option(
           "--radio", typed.radio,
           "who plays the radio: sim (simulated), bluez (this machine's, by BlueZ), guest (BlueZ in an\n"
           "emulated machine, with a second radio that radio2 drives), or any program")
        ->type_name("sim|bluez|guest|PROGRAM")
        ->capture_default_str();
    app.add_option("--adapter", typed.adapter,
                   "with --radio bluez or guest: the adapter, by its address or as \"hci1\" (the lowest)")
        ->type_name("ADAPTER");
    auto* check = app.add_flag("--check", typed.check,
                               "with --radio bluez: run nothing, but look at what it needs of this machine;\n"
                               "ends with 0 when all is fine, 1 with a note, 3 when it cannot work");
    app.add_flag("--json", typed.json, "with --check: an object a line")->needs(check);
    app.add_flag("--private", typed.isPrivate,
                 "with --radio bluez or guest: leave the adapter's name alone, and whether others find it");
    app.add_flag("--on", typed.on, "switch the radio on first, and wait until it is on");
    app.add_option("--scenario", typed.scenario,
                   "the simulated radio's surroundings (a small room of devices)")
        ->type_name("NAME|FILE")
        ->check([](const std::string& text) {
            return text.empty() ? std::string("an empty text names no scenario") : std::string();
        });
    app.add_option("--module", typed.modules,
                   "a module to load beside Bluetooth into the same host; repeatable")
        ->type_name("FILE")
        ->allow_extra_args(false);
    app.add_option("--state", typed.state,
                   "where the host keeps its configs, made when it is missing (fresh for each call)")
        ->type_name("DIR");
    app.add_option("--log", typed.log,
                   "takes the output of buses, host and controller (shown only on failure; what a person\n"
                   "should know at once, its lines \"notice: ...\", always is)")
        ->type_name("FILE");
    app.add_option("--host", typed.host, "the program that loads the module")
        ->group(""); // for trials, unlisted
    app.add_subcommand("tour", "a narrated walk through the world")->callback([&typed] {
        typed.tour = true;
    });
    app.require_subcommand(0, 1);
}

/// A program or library is to be seen in the world together with what stands beside it.
void nameWithFolders(const QFileInfo& file, RunOptions& run)
{
    run.named << file.filePath() << file.path() << QFileInfo(file.canonicalFilePath()).path();
}

base::Result<> findController(const std::string& radio, RunOptions& run)
{
    run.isGuest = radio == "guest";
    if (radio == "sim" || radio == "bluez" || run.isGuest) {
        run.machineBus = radio != "sim";
        run.controller = World::binFolder()
            + (run.machineBus ? QStringLiteral("/bluezradio") : QStringLiteral("/bluesim"));
        if (!QFileInfo(run.controller).isExecutable()) {
            return base::error(QStringLiteral("--radio %1: its program %2 is not built")
                                   .arg(QString::fromStdString(radio), run.controller));
        }
        return {};
    }
    run.controller = absolute(radio);
    const QFileInfo program(run.controller);
    if (!program.exists()) {
        return misused(
            QStringLiteral("--radio %1: there is no such program; give sim, bluez, guest or the path of "
                           "an executable")
                .arg(QString::fromStdString(radio)));
    }
    if (!program.isFile() || !program.isExecutable()) {
        return misused(QStringLiteral("--radio %1: this is not an executable program").arg(run.controller));
    }
    nameWithFolders(program, run);
    return {};
}

/// The radio itself would say what is wrong with its scenario only when somebody switches it on.
base::Result<> resolveScenario(const QString& nameOrPath, RunOptions& run)
{
    run.scenario = nameOrPath;
    if (!bt::scenarioNames().contains(nameOrPath)
        && (nameOrPath.contains(QLatin1Char('/')) || QFileInfo::exists(nameOrPath))) {
        run.scenario = absolute(QFile::encodeName(nameOrPath).toStdString());
        run.named << run.scenario;
    }
    const auto checked = bt::checkScenario(run.scenario);
    return checked ? checked : misused(QStringLiteral("--scenario: %1").arg(checked.error().text));
}

base::Result<> refuseWhatGuestsLose(const TypedOptions& typed)
{
    for (const auto& [option, value] : { std::pair("--state", typed.state), std::pair("--log", typed.log) }) {
        if (typed.radio == "guest" && !value.empty()) {
            return misused(QStringLiteral("%1 %2: what \"--radio guest\" writes does not outlive it")
                               .arg(QLatin1String(option), QFile::decodeName(value.c_str())));
        }
    }
    return {};
}

bool canBeWritten(const QString& log)
{
    // A FIFO's reader would take an attempt for its end.
    const QFileInfo present(log);
    const bool isSpecial = present.exists() && !present.isFile() && !present.isDir();
    return isSpecial ? present.isWritable() : QFile(log).open(QIODevice::WriteOnly | QIODevice::Append);
}

base::Result<> resolvePaths(const TypedOptions& typed, RunOptions& run)
{
    if (!typed.scenario.empty()) {
        if (auto done = resolveScenario(QFile::decodeName(typed.scenario.c_str()), run); !done) {
            return done;
        }
    }
    if (!typed.state.empty()) {
        run.state = absolute(typed.state);
        if (!QDir().mkpath(run.state) || !QFileInfo(run.state).isWritable()) {
            return misused(
                QStringLiteral("--state %1: this folder cannot be made or written").arg(run.state));
        }
    }
    if (!typed.host.empty()) {
        run.host = absolute(typed.host);
    }
    for (const std::string& typedModule : typed.modules) {
        const QFileInfo module(absolute(typedModule));
        if (!module.isFile()) {
            return misused(QStringLiteral("--module %1: there is no such file").arg(module.filePath()));
        }
        run.modules << module.filePath();
        nameWithFolders(module, run);
    }
    if (!typed.log.empty()) {
        run.log = absolute(typed.log);
        if (!canBeWritten(run.log)) {
            return misused(QStringLiteral("--log %1: this file cannot be written").arg(run.log));
        }
    }
    run.named << run.state << run.host << run.log;
    run.named.removeAll({});
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

base::Result<RunOptions> complete(const TypedOptions& typed, const std::vector<std::string>& command)
{
    RunOptions run;
    run.isTour = typed.tour;
    for (const std::string& word : command) {
        run.command << QFile::decodeName(word.c_str());
        if (word.find('/') != std::string::npos) {
            run.named << absolute(word);
        }
    }
    if (command.empty()) {
        run.isTour = run.isTour || isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0;
        run.isLiveView = !run.isTour;
        run.command = run.isTour ? QStringList{ World::binFolder() + QStringLiteral("/bluetoothtour") }
                                 : QStringList{ QStringLiteral("itemctl"), QStringLiteral("top") };
    }
    auto found = refuseWhatGuestsLose(typed).and_then([&] { return resolvePaths(typed, run); }).and_then([&] {
        return findController(typed.radio, run);
    });
    run.adapter = QString::fromStdString(typed.adapter);
    run.checks = typed.check;
    run.json = typed.json;
    if (run.checks && (typed.tour || !command.empty())) {
        return misused(QStringLiteral("--check runs nothing: give neither \"tour\" nor \"-- COMMAND\""));
    }
    if (found && run.checks && !run.machineBus) {
        return misused(QStringLiteral("--check: only \"--radio bluez\" needs something of this machine"));
    }
    run.isPrivate = typed.isPrivate;
    run.switchesOn = typed.on;
    if (found && !run.adapter.isEmpty() && !run.machineBus) {
        return misused(QStringLiteral("--adapter %1: only \"--radio bluez\" and \"guest\" play on an adapter")
                           .arg(run.adapter));
    }
    if (found && run.isPrivate && !run.machineBus) {
        return misused(QStringLiteral("--private: only \"--radio bluez\" and \"guest\" play on an adapter"));
    }
    return found.map([&run] { return run; });
}

} // namespace

base::Result<RunOptions> readRunOptions(int count, char* const* arguments)
{
    const std::vector<std::string> words(arguments + 1, arguments + count);
    const auto dashes = std::find(words.begin(), words.end(), "--");
    const std::vector<std::string> command(dashes == words.end() ? dashes : dashes + 1, words.end());

    TypedOptions typed;
    CLI::App app;
    describe(app, typed);
    const auto answer = [](const std::string& text) -> base::Result<RunOptions> {
        RunOptions run;
        run.answer = QString::fromStdString(text);
        return run;
    };
    try {
        app.parse(std::vector<std::string>(std::make_reverse_iterator(dashes), words.rend()));
    } catch (const CLI::CallForHelp&) {
        return answer(app.help());
    } catch (const CLI::CallForVersion& version) {
        return answer(version.what() + std::string("\n"));
    } catch (const CLI::ExtrasError&) {
        return words.front() == "help" ? answer(app.help()) : misused(unexpected(app));
    } catch (const CLI::ParseError& error) {
        return misused(QString::fromStdString(error.what()) + QStringLiteral("; see --help"));
    }
    if (dashes != words.end() && (command.empty() || command.front().empty())) {
        return misused(QStringLiteral("there is no COMMAND behind \"--\"; see --help"));
    }
    if (typed.tour && !command.empty()) {
        return misused(QStringLiteral("either \"tour\" or \"-- COMMAND\", not both; see --help"));
    }
    return complete(typed, command);
}

} // namespace world

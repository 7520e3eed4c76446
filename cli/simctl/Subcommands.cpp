#include "Commands.h"
#include "FaultWords.h"
#include "common/Program.h"
#include "simulationproxy.h"

#include <algorithm>
#include <vector>

namespace simctl {

using cli::ExitStatus;

namespace {

const char* const Footer =
    R"(DEVICE: an address, or the name of the one device that has it.
Exit status: 0 done, 1 refused or failed, 2 usage, 3 no such device or several,
             4 no answer, 5 no bus or no simulation.)";

/// What may stand in the place of KIND, by the table of the faults.
std::string faultKinds()
{
    constexpr std::size_t Column = 32;
    const std::string indent = '\n' + std::string(Column, ' ');
    std::string text = "KIND:\n";
    for (const bt::FaultWord& fault : bt::FaultWords) {
        std::string form = std::string("  ") + fault.word + ' ' + fault.arguments;
        form += form.size() < Column - 1 ? std::string(Column - form.size(), ' ') : indent;
        std::string help = fault.help;
        if (const auto end = help.find('\n'); end != std::string::npos) {
            help.replace(end, 1, indent);
        }
        text += form + help + '\n';
    }
    return text + "SECONDS are real ones.";
}

/// One word behind the subcommand.
struct Argument
{
    const char* name;
    const char* help;
    bool isRequired = true;
    const char* oneOf = nullptr; ///< the words that it may be, with blanks between them
};

struct Subcommand
{
    const char* name;
    const char* help;
    Command* run; ///< null for the one that needs no simulation
    std::vector<Argument> arguments = {};
    void (*addOptions)(CLI::App& app, Request& request) = nullptr;
};

template <QDBusPendingReply<> (SimulationProxy::*change)(const QString&)>
base::Result<ExitStatus> toDevice(const Request& request, const SimulationClient& simulation,
                                  cli::Output& /*output*/)
{
    return changeDevice(request, simulation, change);
}

void addMoving(CLI::App& app, Request& request)
{
    app.get_option("RSSI")->check(checkSignal);
    app.add_option("--in", request.seconds, "The simulated time that it takes (default: 0)")
        ->type_name("SECONDS")
        ->check(cli::checkSeconds);
}

void addKinds(CLI::App& app, Request& /*request*/)
{
    app.footer(faultKinds() + '\n' + Footer);
}

void addTimeout(CLI::App& app, Request& request)
{
    app.add_option_function<double>(
           "--timeout", [&request](double seconds) { request.timeout = cli::milliseconds(seconds); },
           "End after this time")
        ->type_name("SECONDS")
        ->check(cli::checkSeconds);
}

const std::vector<Subcommand>& subcommands()
{
    static const Argument device{ "DEVICE", "Its address, or its name" };
    static const std::vector<Subcommand> table{
        { "devices", "What is around, and in which state", showDevices },
        { "remove",
          "A device goes away, and loses its connection",
          toDevice<&SimulationProxy::RemoveDevice>,
          { device } },
        { "return",
          "A device that had been removed is there again",
          toDevice<&SimulationProxy::ReturnDevice>,
          { device } },
        { "move",
          "A device comes nearer or goes farther away",
          moveDevice,
          { device, { "RSSI", "The signal strength that it comes to, in dBm" } },
          addMoving },
        { "drop", "A device loses its connection", toDevice<&SimulationProxy::DropDevice>, { device } },
        { "connect", "A device connects by itself", toDevice<&SimulationProxy::ConnectDevice>, { device } },
        { "pair-request",
          "A device asks to be paired",
          toDevice<&SimulationProxy::RequestPairing>,
          { device } },
        { "answer",
          "The person at the device accepts or refuses the pairing",
          answerPairing,
          { device, { "ANSWER", "accept or refuse", true, "accept refuse" } } },
        { "add", "A new device", addDevice, {}, addNewDevice },
        // One by one: of a list, "[…]" would be taken apart, which is a value here.
        { "fault",
          "Something goes wrong; without KIND: what does",
          driveFaults,
          { { "KIND", "See below", false },
            { "ARGUMENT", "The first that belongs to the kind", false },
            { "SHAPE", "Of payload: the D-Bus signature", false },
            { "VALUE", "Of payload: the value in JSON", false } },
          addKinds },
        { "calls", "The daemon's methods that were called, with arguments and times", showCalls },
        { "time",
          "Show the simulated time, or drive it",
          driveTime,
          { { "WORD", "pause, resume, step or speed", false },
            { "NUMBER", "Of step: seconds; of speed: times real time", false } } },
        { "record",
          "Write down what the daemon does, until Ctrl-C; any daemon",
          nullptr,
          { { cli::FileKind, "The recording; its name ends with .rec" } },
          addTimeout },
    };
    return table;
}

void addCommon(CLI::App& app, Request& request)
{
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.add_flag("--json", request.json, "Print JSON: an object a line, or one value");
}

void add(const Subcommand& subcommand, CLI::App& program, Request& request)
{
    CLI::App& app = *program.add_subcommand(subcommand.name, subcommand.help);
    addCommon(app, request);
    for (const Argument& argument : subcommand.arguments) {
        CLI::Option* option = app.add_option_function<std::string>(
            argument.name,
            [&request](const std::string& word) { request.arguments << QString::fromStdString(word); },
            argument.help);
        option->required(argument.isRequired)->type_name("");
        if (argument.oneOf != nullptr) {
            option->check(CLI::IsMember(CLI::detail::split(argument.oneOf, ' ')));
        }
    }
    if (subcommand.addOptions != nullptr) {
        subcommand.addOptions(app, request);
    }
}

base::Result<ExitStatus> perform(const Subcommand& subcommand, const Request& request, cli::Output& output)
{
    if (subcommand.run == nullptr) {
        return record(request, output);
    }
    const auto simulation = SimulationClient::find();
    if (!simulation) {
        return tl::unexpected(simulation.error());
    }
    return subcommand.run(request, *simulation, output);
}

} // namespace

std::string checkSignal(const std::string& text)
{
    bool isNumber = false;
    const int rssi = QString::fromStdString(text).toInt(&isNumber);
    if (isNumber && rssi >= -127 && rssi <= 20) {
        return {};
    }
    return "\"" + text + "\" is no whole number of dBm from -127 to 20";
}

int run(int argc, char** argv)
{
    CLI::App app("Drives the simulated Bluetooth radio that runs on the system bus.", "simctl");
    Request request;
    app.require_subcommand(1);
    app.footer(Footer);
    addCommon(app, request);
    for (const Subcommand& subcommand : subcommands()) {
        add(subcommand, app, request);
    }
    return cli::runProgram(
        app, argc, argv,
        [&](cli::Output& output) {
            const std::string name = app.get_subcommands().front()->get_name();
            return perform(*std::find_if(subcommands().begin(), subcommands().end(),
                                         [&name](const Subcommand& each) { return each.name == name; }),
                           request, output);
        },
        offers);
}

} // namespace simctl

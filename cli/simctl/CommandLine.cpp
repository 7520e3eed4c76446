#include "Commands.h"
#include "DeviceWords.h"
#include "FaultWords.h"
#include "JsonLine.h"
#include "common/Program.h"

#include <nlohmann/json.hpp>

#include <array>
#include <map>
#include <utility>
#include <vector>

namespace simctl {
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

bool isCode(const std::string& text)
{
    return text.size() == 6 && text.find_first_not_of("0123456789") == std::string::npos;
}

constexpr std::array<std::pair<const char*, const char*>, 4> FaultWords{ {
    { "KIND", "See below" },
    { "ARGUMENT", "The first that belongs to the kind" },
    { "SHAPE", "Of payload: the D-Bus signature" },
    { "VALUE", "Of payload: the value in JSON" },
} };

std::string checkSignal(const std::string& text)
{
    bool isNumber = false;
    const int rssi = QString::fromStdString(text).toInt(&isNumber);
    if (isNumber && rssi >= -127 && rssi <= 20) {
        return {};
    }
    return "\"" + text + "\" is no whole number of dBm from -127 to 20";
}

/// What CLI11 fills.
struct Arguments
{
    bool json = false;
    std::string device;
    std::vector<std::string> words;
    std::string word; ///< of time
    std::string number; ///< of time
    double seconds = 0;
    double timeout = 0;
    std::array<std::string, FaultWords.size()> fault;
    // of add
    std::string address;
    std::string deviceClass;
    std::string pin;
    std::string code;
    std::string pairing;
    int rssi = 0;
    bool takesCode = false;
    std::map<std::string, bool> flags; ///< just-works, confirmation, … and the roles
};

class Parser
{
public:
    Parser();
    int run(int argc, char** argv);

private:
    using Command = Request::Command;

    CLI::App* add(Command command, const char* name, const char* description);
    CLI::App* addForDevice(Command command, const char* name, const char* description);
    void addCommon(CLI::App* app);
    void addDevices();
    void addAdd();
    void addPairingOptions(CLI::App* app);
    void addOthers();
    [[nodiscard]] Request request() const;
    [[nodiscard]] QString description() const;

    CLI::App m_app{ "Drives the simulated Bluetooth radio that runs on the system bus.", "simctl" };
    std::map<const CLI::App*, Command> m_commands;
    Arguments m_arguments;
};

Parser::Parser()
{
    m_app.require_subcommand(1);
    m_app.set_version_flag("--version", "simctl " SIMCTL_VERSION, "Print the version and exit");
    m_app.footer(Footer);
    addCommon(&m_app);
    addDevices();
    addAdd();
    addOthers();
}

void Parser::addCommon(CLI::App* app)
{
    app->set_help_flag("-h,--help", "Print this help and exit");
    app->add_flag("--json", m_arguments.json, "Print JSON: an object a line, or one value");
}

CLI::App* Parser::add(Command command, const char* name, const char* description)
{
    CLI::App* app = m_app.add_subcommand(name, description);
    m_commands[app] = command;
    addCommon(app);
    return app;
}

CLI::App* Parser::addForDevice(Command command, const char* name, const char* description)
{
    CLI::App* app = add(command, name, description);
    app->add_option("DEVICE", m_arguments.device, "Its address, or its name")->required()->type_name("");
    return app;
}

void Parser::addDevices()
{
    add(Command::Devices, "devices", "What is around, and in which state");
    addForDevice(Command::Remove, "remove", "A device goes away, and loses its connection");
    addForDevice(Command::Return, "return", "A device that had been removed is there again");
    CLI::App* move = addForDevice(Command::Move, "move", "A device comes nearer or goes farther away");
    move->add_option("RSSI", m_arguments.rssi, "The signal strength that it comes to, in dBm")
        ->required()
        ->check(checkSignal)
        ->type_name("");
    move->add_option("--in", m_arguments.seconds, "The simulated time that it takes (default: 0)")
        ->type_name("SECONDS")
        ->check(cli::checkSeconds);
    addForDevice(Command::Drop, "drop", "A device loses its connection");
    addForDevice(Command::Connect, "connect", "A device connects by itself");
    addForDevice(Command::PairRequest, "pair-request", "A device asks to be paired");
    CLI::App* answer =
        addForDevice(Command::Answer, "answer", "The person at the device accepts or refuses the pairing");
    answer->add_option("ANSWER", m_arguments.words, "accept or refuse")
        ->required()
        ->expected(1)
        ->check(CLI::IsMember({ "accept", "refuse" }))
        ->type_name("");
}

void Parser::addAdd()
{
    CLI::App* app = add(Command::Add, "add", "A new device");
    const CLI::Option* nameOption =
        app->add_option("NAME", m_arguments.device, "Its name; \"\" when it never tells one")->type_name("");
    // NAME is needed, but may stand behind --code, whose digits may be left out.
    app->final_callback([this, nameOption] {
        if (nameOption->count() > 0) {
            return;
        }
        if (m_arguments.code.empty() || isCode(m_arguments.code)) {
            throw CLI::RequiredError("NAME");
        }
        m_arguments.device = std::exchange(m_arguments.code, {});
    });
    app->add_option("--address", m_arguments.address, "Its address, like 00:11:22:33:44:55")
        ->required()
        ->type_name("ADDRESS");
    app->add_option("--rssi", m_arguments.rssi, "Its signal strength in dBm (default: -60)")
        ->check(checkSignal)
        ->type_name("N");
    app->add_option("--class", m_arguments.deviceClass, "Its class of device, like 0x5a020c")
        ->type_name("CLASS");
    addPairingOptions(app);
    const auto addFlag = [&](const char* name, const char* help) {
        app->add_flag(std::string("--") + name, m_arguments.flags[name], help);
    };
    for (const bt::RoleWord& role : bt::RoleWords) {
        if (role.help != nullptr) {
            addFlag(role.word, role.help);
        }
    }
    addFlag("paired", "It is paired already");
}

void Parser::addPairingOptions(CLI::App* app)
{
    CLI::Option_group* group = app->add_option_group("How it pairs (default: --just-works)");
    group->require_option(0, 1);
    // Those that take something come first.
    group->add_option("--pin", m_arguments.pin);
    group->add_option("--code", m_arguments.code)->expected(0, 1);
    for (const bt::PairingWord& pairing : bt::PairingWords) {
        const std::string name = std::string("--") + pairing.word;
        if (*pairing.argument != '\0') {
            group->get_option(name)->type_name(pairing.argument)->description(pairing.help);
        } else {
            group->add_flag_callback(
                name, [this, word = pairing.word] { m_arguments.pairing = word; }, pairing.help);
        }
    }
}

void Parser::addOthers()
{
    CLI::App* fault = add(Command::Fault, "fault", "Something goes wrong; without KIND: what does");
    // One by one: of a list, "[…]" would be taken apart, which is a value here.
    for (std::size_t i = 0; i < FaultWords.size(); ++i) {
        fault->add_option(FaultWords.at(i).first, m_arguments.fault.at(i), FaultWords.at(i).second)
            ->type_name("");
    }
    fault->footer(faultKinds() + '\n' + Footer);
    add(Command::Calls, "calls", "The daemon's methods that were called, with arguments and times");
    CLI::App* time = add(Command::Time, "time", "Show the simulated time, or drive it");
    time->add_option("WORD", m_arguments.word, "pause, resume, step or speed")->type_name("");
    time->add_option("NUMBER", m_arguments.number, "Of step: seconds; of speed: times real time")
        ->type_name("");
    CLI::App* record =
        add(Command::Record, "record", "Write down what the daemon does, until Ctrl-C; any daemon");
    record->add_option("FILE", m_arguments.device, "The recording; its name ends with .rec")
        ->required()
        ->type_name("");
    record->add_option("--timeout", m_arguments.timeout, "End after this time")
        ->type_name("SECONDS")
        ->check(cli::checkSeconds);
    // For the shells' completion: names and addresses of the devices, faults, options of add, or the members
    // of the daemon's interface that a fault can be of.
    CLI::App* names = add(Command::Names, "names", "The devices, for completion");
    names->add_option("KIND", m_arguments.words, "device, fault, option, or member and a fault");
    names->group("");
}

QString Parser::description() const
{
    nlohmann::ordered_json device;
    device["address"] = m_arguments.address;
    device["name"] = m_arguments.device;
    if (!m_arguments.deviceClass.empty()) {
        device["class"] = m_arguments.deviceClass;
    }
    const CLI::App* chosen = m_app.get_subcommands().front();
    if (chosen->get_option("--rssi")->count() > 0) {
        device["rssi"] = m_arguments.rssi;
    }
    if (chosen->get_option("--pin")->count() > 0) {
        device["pairing"] = "pin";
        device["pin"] = m_arguments.pin;
    } else if (chosen->get_option("--code")->count() > 0) {
        device["pairing"] = "code";
        if (!m_arguments.code.empty()) {
            device["code"] = m_arguments.code;
        }
    } else if (!m_arguments.pairing.empty()) {
        device["pairing"] = m_arguments.pairing;
    }
    auto roles = nlohmann::ordered_json::array();
    for (const auto& [name, given] : m_arguments.flags) {
        if (given && name == "paired") {
            device["paired"] = true;
        } else if (given) {
            roles.push_back(name);
        }
    }
    device["is"] = roles;
    return base::jsonText(device);
}

Request Parser::request() const
{
    const CLI::App* chosen = m_app.get_subcommands().front();
    Request request;
    request.command = m_commands.at(chosen);
    request.json = m_arguments.json;
    if (chosen->get_option_no_throw("DEVICE") != nullptr || request.command == Command::Record) {
        request.arguments << QString::fromStdString(m_arguments.device);
    }
    if (request.command == Command::Add) {
        request.description = description();
    }
    if (request.command == Command::Move) {
        request.arguments << QString::number(m_arguments.rssi);
        request.seconds = m_arguments.seconds;
    }
    for (const std::string& word : m_arguments.words) {
        request.arguments << QString::fromStdString(word);
    }
    for (const std::string& word : { m_arguments.word, m_arguments.number }) {
        if (!word.empty()) {
            request.arguments << QString::fromStdString(word);
        }
    }
    for (std::size_t i = 0; request.command == Command::Fault && i < FaultWords.size(); ++i) {
        if (chosen->get_option(FaultWords.at(i).first)->count() > 0) {
            request.arguments << QString::fromStdString(m_arguments.fault.at(i));
        }
    }
    if (request.command == Command::Record && chosen->get_option("--timeout")->count() > 0) {
        request.timeout = cli::milliseconds(m_arguments.timeout);
    }
    return request;
}

int Parser::run(int argc, char** argv)
{
    return cli::runProgram(m_app, argc, argv, [this](cli::Output& output) -> base::Result<cli::ExitStatus> {
        const Request asked = request();
        const auto done = simctl::run(asked, output);
        // A completion that fails has nothing to offer, and nothing to say in the middle of a command line.
        return asked.command == Command::Names && !done ? cli::statusOf(done.error().kind) : done;
    });
}

} // namespace

int run(int argc, char** argv)
{
    return Parser().run(argc, argv);
}

} // namespace simctl

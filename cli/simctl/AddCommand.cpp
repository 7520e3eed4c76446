#include "Commands.h"
#include "DeviceWords.h"
#include "JsonLine.h"
#include "simulationproxy.h"

#include <nlohmann/json.hpp>

#include <map>
#include <memory>

namespace simctl {
namespace {

/// A device as the options describe it.
struct NewDevice
{
    std::string name;
    std::string address;
    std::string deviceClass;
    std::string pin;
    std::string code;
    std::string pairing;
    int rssi = 0;
    std::map<std::string, bool> flags; ///< the roles, and whether it is paired
};

bool isCode(const std::string& text)
{
    return text.size() == 6 && text.find_first_not_of("0123456789") == std::string::npos;
}

void addPairingOptions(CLI::App& app, NewDevice& device)
{
    CLI::Option_group* group = app.add_option_group("How it pairs (default: --just-works)");
    group->require_option(0, 1);
    // Those that take something come first.
    group->add_option("--pin", device.pin);
    group->add_option("--code", device.code)->expected(0, 1);
    for (const bt::PairingWord& pairing : bt::PairingWords) {
        const std::string name = std::string("--") + pairing.word;
        if (*pairing.argument != '\0') {
            group->get_option(name)->type_name(pairing.argument)->description(pairing.help);
        } else {
            group->add_flag_callback(
                name, [&device, word = pairing.word] { device.pairing = word; }, pairing.help);
        }
    }
}

QString descriptionOf(const NewDevice& given, const CLI::App& app)
{
    nlohmann::ordered_json device;
    device["address"] = given.address;
    device["name"] = given.name;
    if (!given.deviceClass.empty()) {
        device["class"] = given.deviceClass;
    }
    if (app.get_option("--rssi")->count() > 0) {
        device["rssi"] = given.rssi;
    }
    if (app.get_option("--pin")->count() > 0) {
        device["pairing"] = "pin";
        device["pin"] = given.pin;
    } else if (app.get_option("--code")->count() > 0) {
        device["pairing"] = "code";
        if (!given.code.empty()) {
            device["code"] = given.code;
        }
    } else if (!given.pairing.empty()) {
        device["pairing"] = given.pairing;
    }
    auto roles = nlohmann::ordered_json::array();
    for (const auto& [name, isGiven] : given.flags) {
        if (isGiven && name == "paired") {
            device["paired"] = true;
        } else if (isGiven) {
            roles.push_back(name);
        }
    }
    device["is"] = roles;
    return base::jsonText(device);
}

} // namespace

void addNewDevice(CLI::App& app, Request& request)
{
    const auto device = std::make_shared<NewDevice>();
    const CLI::Option* nameOption =
        app.add_option("NAME", device->name, "Its name; \"\" when it never tells one")->type_name("");
    // NAME is needed, but may stand behind --code, whose digits may be left out.
    app.final_callback([device, nameOption, &app, &request] {
        if (nameOption->count() == 0) {
            if (device->code.empty() || isCode(device->code)) {
                throw CLI::RequiredError("NAME");
            }
            device->name = std::exchange(device->code, {});
        }
        request.description = descriptionOf(*device, app);
    });
    app.add_option("--address", device->address, "Its address, like 00:11:22:33:44:55")
        ->required()
        ->type_name("ADDRESS");
    app.add_option("--rssi", device->rssi, "Its signal strength in dBm (default: -60)")
        ->check(checkSignal)
        ->type_name("N");
    app.add_option("--class", device->deviceClass, "Its class of device, like 0x5a020c")->type_name("CLASS");
    addPairingOptions(app, *device);
    const auto addFlag = [&](const char* name, const char* help) {
        app.add_flag(std::string("--") + name, device->flags[name], help);
    };
    for (const bt::RoleWord& role : bt::RoleWords) {
        if (role.help != nullptr) {
            addFlag(role.word, role.help);
        }
    }
    addFlag("paired", "It is paired already");
}

base::Result<cli::ExitStatus> addDevice(const Request& request, const SimulationClient& simulation,
                                        cli::Output& /*output*/)
{
    return conclude(SimulationClient::answerOf(simulation.proxy().AddDevice(request.description)));
}

} // namespace simctl

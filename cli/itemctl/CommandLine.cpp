#include "Failure.h"
#include "Request.h"
#include "Servers.h"
#include "common/Arguments.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace itemctl {
namespace {

const char* const Footer =
    R"(ITEM and ACTION: a full address, MODULE:ID or ID; an instance of a list has :INDEX behind it.
PATTERN: a shell pattern over MODULE:ID, or ID alone.
Exit status: 0 done, 1 refused or failed, 2 usage, 3 no such item or several,
             4 timed out or no answer, 5 no bus or no server.)";

/// What CLI11 fills.
struct Arguments
{
    std::string server;
    bool json = false;
    std::vector<std::string> names; ///< items, patterns or conditions
    std::string item; ///< of the subcommands that take one
    std::string text;
    int count = 0;
    int notices = -1;
    double timeout = 0;
};

class Parser
{
public:
    Parser();
    std::variant<Request, int> parse(int argc, const char* const* argv);

private:
    CLI::App* add(Request::Command command, const char* name, const char* description);
    void addCommon(CLI::App* app);
    void addNames(CLI::App* app, const char* placeholder, const char* description, bool required);
    void addItem(CLI::App* app, const char* placeholder, const char* description);
    void addTimeout(CLI::App* app, const char* description);
    void addReaders();
    void addWriters();
    void addWaiters();
    [[nodiscard]] Request request() const;

    CLI::App m_app{ "Reads, writes and watches the items of the servers on the session bus.", "itemctl" };
    std::map<const CLI::App*, Request::Command> m_commands;
    Arguments m_arguments;
};

Parser::Parser()
{
    m_app.require_subcommand(1);
    m_app.set_version_flag("--version", "itemctl " ITEMCTL_VERSION, "Print the version and exit");
    addCommon(&m_app);
    m_app.footer(Footer);
    addReaders();
    addWriters();
    addWaiters();
}

CLI::App* Parser::add(Request::Command command, const char* name, const char* description)
{
    CLI::App* app = m_app.add_subcommand(name, description);
    m_commands[app] = command;
    addCommon(app);
    return app;
}

void Parser::addCommon(CLI::App* app)
{
    app->set_help_flag("-h,--help", "Print this help and exit");
    app->add_flag("--json", m_arguments.json, "Print JSON: an object a line (list, watch) or one value");
    app->add_option("--server", m_arguments.server, "Speak to this server only, where an id is on several")
        ->type_name("NAME");
}

void Parser::addNames(CLI::App* app, const char* placeholder, const char* description, bool required)
{
    app->add_option(placeholder, m_arguments.names, description)->required(required)->type_name("");
}

void Parser::addItem(CLI::App* app, const char* placeholder, const char* description)
{
    app->add_option(placeholder, m_arguments.item, description)->required()->type_name("");
}

void Parser::addTimeout(CLI::App* app, const char* description)
{
    app->add_option("--timeout", m_arguments.timeout, description)
        ->type_name("SECONDS")
        ->check(cli::checkSeconds);
}

void Parser::addReaders()
{
    using Command = Request::Command;
    addNames(
        add(Command::List, "list", "One line per item: address, value, label; marks what does not apply now"),
        "PATTERN", "The items to list; all when there is none", false);
    addNames(add(Command::Get, "get", "Print the values alone, one a line"), "ITEM", "The items to read",
             true);
    addItem(add(Command::Describe, "describe", "Everything known of an item: type, limits, values"), "ITEM",
            "The item");
    add(Command::Servers, "servers", "The servers on the bus and their modules");
    // For the shells' completion: the short names of all items, or of those of some kinds.
    CLI::App* names = add(Command::Names, "names", "Short names, for completion");
    addNames(names, "KIND", "config, result, action", false);
    names->group("");
    CLI::App* values = add(Command::Values, "values", "What an item may be set to, for completion");
    addItem(values, "ITEM", "The item");
    values->group("");
}

void Parser::addWriters()
{
    using Command = Request::Command;
    CLI::App* set = add(Command::Set, "set", "Write a config, or a result that its server opens to clients");
    addItem(set, "ITEM", "The item");
    set->add_option("VALUE", m_arguments.text,
                    "An enumeration's number, symbol or label; true, false; a text")
        ->required()
        ->type_name("");
    CLI::App* call = add(Command::Call, "call", "Trigger an action and print its reply text, if it has one");
    addItem(call, "ACTION", "The action");
    call->add_option("TEXT", m_arguments.text, R"(The text for it; behind "--" when it begins with "-")")
        ->type_name("");
}

void Parser::addWaiters()
{
    using Command = Request::Command;
    CLI::App* watch = add(Command::Watch, "watch", "One line per change as it happens, until stopped");
    addNames(watch, "PATTERN", "The items to watch; all when there is none", false);
    watch->add_option("--count", m_arguments.count, "End after this many changes")
        ->type_name("N")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    addTimeout(watch, "End after this time: with status 4 when --count changes were not reached, else 0");
    CLI::App* wait = add(Command::Wait, "wait", "Return when all conditions hold together");
    addNames(wait, "CONDITION", "ITEM=VALUE, ITEM!=VALUE, ITEM~REGEX, ITEM:applicable or ITEM:inapplicable",
             true);
    addTimeout(wait, "How long to wait (default: 10)");
    add(Command::Top, "top", "A live view of the items; Enter triggers an action or edits a setting")
        ->add_option("--notices", m_arguments.notices, "Show the lines that come from this descriptor")
        ->check(CLI::NonNegativeNumber)
        ->group(""); // for whoever starts the view in the terminal's place
}

Request Parser::request() const
{
    const CLI::App* chosen = m_app.get_subcommands().front();
    const auto given = [chosen](const char* option) {
        const CLI::Option* found = chosen->get_option_no_throw(option);
        return found != nullptr && found->count() > 0;
    };
    Request request;
    request.command = m_commands.at(chosen);
    request.json = m_arguments.json;
    request.server = serverName(QString::fromStdString(m_arguments.server));
    for (const std::string& name : m_arguments.names) {
        request.arguments += QString::fromStdString(name);
    }
    if (!m_arguments.item.empty()) {
        request.arguments =
            QStringList{ QString::fromStdString(m_arguments.item), QString::fromStdString(m_arguments.text) };
    }
    if (given("--count")) {
        request.count = m_arguments.count;
    }
    if (given("--notices")) {
        request.notices = m_arguments.notices;
    }
    if (given("--timeout")) {
        request.timeout = cli::milliseconds(m_arguments.timeout);
    }
    return request;
}

std::variant<Request, int> Parser::parse(int argc, const char* const* argv)
{
    if (const auto status = cli::parse(m_app, argc, argv)) {
        return *status;
    }
    return request();
}

} // namespace

std::variant<Request, int> parseCommandLine(int argc, const char* const* argv)
{
    return Parser().parse(argc, argv);
}

} // namespace itemctl

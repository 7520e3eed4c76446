#include "Commands.h"
#include "common/Program.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace itemctl {
namespace {

const char* const Footer =
    R"(ITEM and ACTION: a full address, MODULE:ID or ID; an instance of a list has :INDEX behind it.
PATTERN: a shell pattern over MODULE:ID, or ID alone.
Exit status: 0 done, 1 refused or failed, 2 usage, 3 no such item or several,
             4 timed out or no answer, 5 no bus or no server.)";

/// One that stands on the command line without a name.
struct Argument
{
    enum class Times { Once, AtMostOnce, AnyTimes, Repeatedly };

    const char* name;
    const char* help;
    Times times = Times::Once;
};

struct Subcommand
{
    const char* name;
    const char* help;
    Command* run;
    std::vector<Argument> arguments = {};
    void (*addOptions)(CLI::App& app, Request& request) = nullptr;
};

void addTimeout(CLI::App& app, Request& request, const char* help)
{
    app.add_option_function<double>(
           "--timeout", [&request](double seconds) { request.timeout = cli::milliseconds(seconds); }, help)
        ->type_name("SECONDS")
        ->check(cli::checkSeconds);
}

void addAwaitServer(CLI::App& app, Request& request)
{
    app.add_flag("--await-server", request.awaitsServer, "Wait for a server that is not there yet");
}

void addWatchOptions(CLI::App& app, Request& request)
{
    app.add_flag("--initial", request.initial, "First what is, then the changes, with no gap in between");
    addAwaitServer(app, request);
    app.add_option("--count", request.count, "End after this many changes")
        ->type_name("N")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    addTimeout(app, request,
               "End after this time: with status 4 when --count changes were not reached, else 0");
}

void addTexts(CLI::App& app, const char* option, const char* type, QStringList& texts, const char* help)
{
    app.add_option_function<std::vector<std::string>>(
           option,
           [&texts](const std::vector<std::string>& words) {
               for (const std::string& word : words) {
                   texts += QString::fromStdString(word);
               }
           },
           help)
        ->type_name(type);
}

void addText(CLI::App& app, const char* option, const char* type, QString& text, const char* help)
{
    app.add_option_function<std::string>(
           option, [&text](const std::string& word) { text = QString::fromStdString(word); }, help)
        ->type_name(type);
}

void addWaitOptions(CLI::App& app, Request& request)
{
    addTexts(app, "--unless", "CONDITION...", request.unless,
             "Give up with status 1 when one of these holds");
    addTimeout(app, request, "How long to wait (default: 10)");
}

void addWaitCommandOptions(CLI::App& app, Request& request)
{
    addWaitOptions(app, request);
    addAwaitServer(app, request);
}

void addUntilOptions(CLI::App& app, Request& request)
{
    addTexts(app, "--until", "CONDITION...", request.until,
             "Then show how the items of these change, and return when all hold together");
    addWaitOptions(app, request);
    addTexts(app, "--show", "PATTERN...", request.show, "Show how these change as well");
    for (const char* option : { "--unless", "--timeout", "--show" }) {
        app.get_option(option)->needs("--until");
    }
}

void addCallOptions(CLI::App& app, Request& request)
{
    addUntilOptions(app, request);
    addText(app, "--row", "CONDITION", request.row, "Take the text from the one row of a list that is so");
    addText(app, "--take", "LIST", request.take, "The list that has the text, in that row");
    app.get_option("--row")->needs("--take")->excludes("TEXT");
    app.get_option("--take")->needs("--row");
}

void addListOptions(CLI::App& app, Request& request)
{
    app.add_flag("--rows", request.rows, "One line per row of the lists; what is empty is counted");
}

/// For whoever starts the view in the terminal's place.
void addTopOptions(CLI::App& app, Request& request)
{
    app.add_option("--notices", request.notices, "Show the lines that come from this descriptor")
        ->check(CLI::NonNegativeNumber)
        ->group("");
}

const std::vector<Subcommand>& subcommands()
{
    using Times = Argument::Times;
    static const std::vector<Subcommand> table{
        { "list",
          "One line per item: address, value, label; marks what does not apply now",
          list,
          { { "PATTERN", "The items to list; all when there is none", Times::AnyTimes } },
          addListOptions },
        { "get",
          "Print the values alone, one a line",
          get,
          { { "ITEM", "The items to read", Times::Repeatedly } } },
        { "describe",
          "Everything known of an item: type, limits, values",
          describe,
          { { "ITEM", "The item" } } },
        { "servers", "The servers on the bus and their modules", servers },
        { "set",
          "Write a config, or a result that its server opens to clients",
          set,
          { { "ITEM", "The item" },
            { "VALUE", "An enumeration's number, symbol or label; true, false; a text" } },
          addUntilOptions },
        { "call",
          "Trigger an action and print its reply text, if it has one",
          call,
          { { "ACTION", "The action" },
            { "TEXT", R"(The text for it; behind "--" when it begins with "-")", Times::AtMostOnce } },
          addCallOptions },
        { "watch",
          "One line per change as it happens, until stopped",
          watch,
          { { "PATTERN", "The items to watch; all when there is none", Times::AnyTimes } },
          addWatchOptions },
        { "wait",
          "Return when all conditions hold together",
          wait,
          { { "CONDITION", "ITEM=VALUE, ITEM!=VALUE, ITEM~REGEX, ITEM:applicable or ITEM:inapplicable",
              Times::Repeatedly } },
          addWaitCommandOptions },
        { "top",
          "A live view of the items; Enter triggers an action or edits a setting",
          top,
          {},
          addTopOptions },
    };
    return table;
}

void addArgument(CLI::App& app, const Argument& argument, Request& request)
{
    using Times = Argument::Times;
    const auto take = [&request](const std::string& word) {
        request.arguments += QString::fromStdString(word);
    };
    const bool isList = argument.times == Times::AnyTimes || argument.times == Times::Repeatedly;
    // A text of one's own: in a list, "[…]" would be taken apart, which is a value here.
    CLI::Option* option = isList ? app.add_option_function<std::vector<std::string>>(
                              argument.name,
                              [take](const std::vector<std::string>& words) {
                                  std::for_each(words.begin(), words.end(), take);
                              },
                              argument.help)
                                 : app.add_option_function<std::string>(argument.name, take, argument.help);
    option->required(argument.times == Times::Once || argument.times == Times::Repeatedly)->type_name("");
}

void addCommon(CLI::App& app, Request& request)
{
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.add_flag("--json", request.json, "Print JSON: an object a line (list, watch) or one value");
    app.add_option_function<std::string>(
           "--server",
           [&request](const std::string& name) { request.server = serverName(QString::fromStdString(name)); },
           "Speak to this server only, where an id is on several")
        ->type_name("NAME");
}

/// \a isAsked is for the one that may be wanted: the others' options are not worth the time of each call.
void add(const Subcommand& subcommand, CLI::App& program, Request& request, bool isAsked)
{
    CLI::App& app = *program.add_subcommand(subcommand.name, subcommand.help);
    if (!isAsked) {
        return;
    }
    addCommon(app, request);
    for (const Argument& argument : subcommand.arguments) {
        addArgument(app, argument, request);
    }
    if (subcommand.addOptions != nullptr) {
        subcommand.addOptions(app, request);
    }
}

} // namespace

int run(int argc, char** argv)
{
    CLI::App app("Reads, writes and watches the items of the servers on the session bus.", "itemctl");
    Request request;
    app.require_subcommand(1);
    addCommon(app, request);
    app.footer(Footer);
    for (const Subcommand& subcommand : subcommands()) {
        const bool isAsked = std::any_of(argv, argv + argc, [&subcommand](const char* word) {
            return std::strcmp(word, subcommand.name) == 0 || std::strcmp(word, "manual") == 0;
        });
        add(subcommand, app, request, isAsked);
    }
    return cli::runProgram(
        app, argc, argv,
        [&](Output& output) {
            const std::string name = app.get_subcommands().front()->get_name();
            return std::find_if(subcommands().begin(), subcommands().end(),
                                [&name](const Subcommand& each) { return each.name == name; })
                ->run(request, output);
        },
        offers);
}

} // namespace itemctl

#pragma once

#include "Common.h"
#include "Servers.h"
#include "common/Completion.h"
#include "common/Output.h"

#include <QStringList>

#include <chrono>
#include <optional>

namespace itemctl {

/// The whole of the program "itemctl". @return the exit status
int run(int argc, char** argv);

/// What the command line asks for.
struct Request
{
    bool json = false;
    bool rows = false; ///< list: a line a row
    bool initial = false; ///< watch: what is goes before what changes
    bool awaitsServer = false; ///< wait, watch: for a server that is not there yet
    QString server; ///< "bluetoothlauncher"; empty for all servers on the bus
    QStringList arguments; ///< patterns, items or conditions; of set and call the item, then the text
    QStringList until; ///< conditions
    QStringList unless;
    QStringList show; ///< patterns: what changes on the way to a goal, besides what the conditions name
    QString row; ///< call: a condition that one row of a list fulfils
    QString take; ///< call: the list that has the text, in that row
    std::optional<int> count;
    std::optional<int> notices; ///< top: a descriptor; its lines are shown as they come
    std::optional<std::chrono::milliseconds> timeout;
};

/// What a subcommand does. Its results have gone to the output.
using Command = base::Result<ExitStatus>(const Request& request, Output& output);

Command list;
Command get;
Command set;
Command call;
Command watch;
Command wait;
Command describe;
Command servers;
Command top;

/// What the servers have to offer to the shells' completion.
QStringList offers(const cli::CompletionPlace& place);

/// The servers that a request concerns: the one it names, those that all these names tell by being full
/// addresses, or all on the bus.
base::Result<Servers> serversFor(const Request& request, const QStringList& names);

/// Servers, and all items that they have now.
struct Listing
{
    Servers servers;
    Items items;
};

base::Result<Listing> listed(Servers servers);

/// Says which servers do not answer, although others do.
void noteSilent(const Servers& servers, Output& output);

/// How the item is named in a line for people: shortly on a terminal, where room is scarce, and with its full
/// address elsewhere.
QString shownName(const Item& item, const Output& output);

} // namespace itemctl

#pragma once

#include "Output.h"
#include "Request.h"
#include "Servers.h"

namespace itemctl {

/// Does what was asked for; results and reasons have gone to the output.
ExitStatus run(const Request& request, Output& output);

// The subcommands.
ExitStatus runList(const Request& request, Output& output);
ExitStatus runGet(const Request& request, Output& output);
ExitStatus runSet(const Request& request, Output& output);
ExitStatus runCall(const Request& request, Output& output);
ExitStatus runWatch(const Request& request, Output& output);
ExitStatus runWait(const Request& request, Output& output);
ExitStatus runDescribe(const Request& request, Output& output);
ExitStatus runServers(const Request& request, Output& output);
ExitStatus runTop(const Request& request, Output& output);
ExitStatus runNames(const Request& request, Output& output);
ExitStatus runValues(const Request& request, Output& output);

/// The servers that a request concerns: the one it names, those that all these names tell by being full
/// addresses, or all on the bus.
Expected<Servers> serversFor(const Request& request, const QStringList& names);

/// All items of these servers; says which servers do not answer.
Expected<Items> listAll(Servers& servers, Output& output);

} // namespace itemctl

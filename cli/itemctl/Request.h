#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>
#include <variant>

namespace itemctl {

/// What the command line asks for.
struct Request
{
    enum class Command { List, Get, Set, Call, Watch, Wait, Describe, Servers, Top, Names, Values };

    Command command = Command::List;
    bool json = false;
    QString server; ///< "bluetoothlauncher"; empty for all servers on the bus
    QStringList arguments; ///< patterns, items or conditions; of set and call the item, then the text
    std::optional<int> count;
    std::optional<int> notices; ///< top: a descriptor; its lines are shown as they come
    std::optional<std::chrono::milliseconds> timeout;
};

/// The request, or the exit status when help was printed or the command line is not understood.
std::variant<Request, int> parseCommandLine(int argc, const char* const* argv);

} // namespace itemctl

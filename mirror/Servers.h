#pragma once

#include "ClientResult.h"
#include "Item.h"

#include <QDBusConnection>
#include <QStringList>

#include <chrono>
#include <memory>
#include <vector>

namespace mirror {

/// "bluetoothlauncher" for "tov.base.bluetoothlauncher" and for "bluetoothlauncher".
QString serverName(const QString& nameOrBusName);
QString busNameOf(const QString& server);

/// The servers that a command speaks to.
class Servers
{
public:
    /// All servers on the bus when no name is given; otherwise those, which all have to be there.
    static base::Result<Servers> open(const QDBusConnection& connection, const QStringList& names);

    void setTimeout(std::chrono::milliseconds timeout);

    [[nodiscard]] const std::vector<std::unique_ptr<KELClientInterface>>& clients() const
    {
        return m_clients;
    }
    [[nodiscard]] KELClientInterface& clientOf(const Item& item) const;

    /// All items of all servers, in the order of the servers' names; at least those that \a patterns choose.
    /// A server that does not answer is left out from then on, and its error is kept. Fails when none does.
    [[nodiscard]] base::Result<Items> list(const QStringList& patterns = {});
    /// Leaves out the servers that have none of these.
    void keepThoseOf(const Items& items);
    [[nodiscard]] const std::vector<base::Error>& silent() const { return m_silent; }
    void addSilent(const base::Error& error) { m_silent.push_back(error); }
    /// Those that ITEMCTL_SERVERS names and that are not on the bus; none when only some were asked for.
    [[nodiscard]] const QStringList& absent() const { return m_absent; }

private:
    std::vector<std::unique_ptr<KELClientInterface>> m_clients;
    std::vector<base::Error> m_silent;
    QStringList m_absent;
};

/// The patterns, if a server takes so many; nothing else, which asks it for everything.
QStringList askedFor(const QStringList& patterns);

Items itemsOf(const KELClientInterface& client, const ipc::Snapshot& snapshot);

/// To the session bus, the one that all of this program uses.
QDBusConnection ownConnection();

/// The same, or the reason why there is none.
base::Result<QDBusConnection> sessionBus();

} // namespace mirror

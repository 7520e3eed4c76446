#include "Servers.h"

#include "Escaped.h"
#include "bus/RequestLimits.h"

#include <QDBusError>

#include <algorithm>

namespace mirror {
namespace {

const QLatin1String BusNamePrefix("tov.base.");

/// The bus does not tell which servers there were, or will be; who sets up a system can.
QStringList expectedServers()
{
    QStringList names = qEnvironmentVariable("ITEMCTL_SERVERS").split(QLatin1Char(' '), Qt::SkipEmptyParts);
    std::transform(names.begin(), names.end(), names.begin(), serverName);
    return names;
}

QString listed(const QStringList& busNames)
{
    QStringList names;
    std::transform(busNames.begin(), busNames.end(), std::back_inserter(names), serverName);
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

} // namespace

QString serverName(const QString& nameOrBusName)
{
    return nameOrBusName.startsWith(BusNamePrefix) ? nameOrBusName.mid(BusNamePrefix.size()) : nameOrBusName;
}

QString busNameOf(const QString& server)
{
    return BusNamePrefix + server;
}

// QtDBus holds back the signals of QDBusConnection::sessionBus() until the event loop runs, and then delivers
// them behind later ones.
QDBusConnection ownConnection()
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("itemctl"));
}

base::Result<QDBusConnection> sessionBus()
{
    const QDBusConnection bus = ownConnection();
    if (bus.isConnected()) {
        return bus;
    }
    return base::error(QStringLiteral("no session bus (%1); DBUS_SESSION_BUS_ADDRESS has to name one")
                           .arg(bus.lastError().message().simplified()),
                       base::Failure::NoServer);
}

base::Result<Servers> Servers::open(const QDBusConnection& connection, const QStringList& names)
{
    const auto present = resultOf(KELClientInterface::servers(connection));
    if (!present) {
        return tl::unexpected(present.error());
    }
    QStringList wanted;
    for (const QString& name : names) {
        if (!present->contains(busNameOf(name))) {
            return base::error(QStringLiteral("no server \"%1\" on the session bus; there is %2")
                                   .arg(base::escaped(name), listed(*present)),
                               base::Failure::NoServer);
        }
        if (!wanted.contains(busNameOf(name))) {
            wanted += busNameOf(name);
        }
    }
    QStringList absent;
    if (names.isEmpty()) {
        wanted = *present;
        for (const QString& name : expectedServers()) {
            if (!present->contains(busNameOf(name))) {
                absent += name;
            }
        }
    }
    if (wanted.isEmpty()) {
        return base::error(QStringLiteral("no server is on the session bus"), base::Failure::NoServer);
    }
    Servers servers;
    servers.m_absent = absent;
    for (const QString& busName : wanted) {
        servers.m_clients.push_back(std::make_unique<KELClientInterface>(busName, connection));
    }
    return servers;
}

void Servers::setTimeout(std::chrono::milliseconds timeout)
{
    for (const auto& client : m_clients) {
        client->setTimeout(timeout);
    }
}

KELClientInterface& Servers::clientOf(const Item& item) const
{
    const QString busName = busNameOf(item.server);
    return **std::find_if(m_clients.begin(), m_clients.end(),
                          [&](const auto& client) { return client->busName() == busName; });
}

Items itemsOf(const KELClientInterface& client, const ipc::Snapshot& snapshot)
{
    const QString server = serverName(client.busName());
    Items items;
    items.reserve(snapshot.items.size());
    for (const ipc::ItemRecord& record : snapshot.items) {
        items += Item::fromRecord(server, record);
    }
    return items;
}

QStringList askedFor(const QStringList& patterns)
{
    const bool isTaken = patterns.size() <= ipc::limits::Patterns
        && std::all_of(patterns.begin(), patterns.end(),
                       [](const QString& pattern) { return pattern.size() <= ipc::limits::NameLength; });
    return isTaken ? patterns : QStringList();
}

base::Result<Items> Servers::list(const QStringList& patterns)
{
    Items items;
    const auto isSilent = [&](const std::unique_ptr<KELClientInterface>& client) {
        const auto snapshot = client->list(askedFor(patterns));
        if (!snapshot) {
            m_silent.push_back(errorFrom(snapshot.error()));
            return true;
        }
        items += itemsOf(*client, *snapshot);
        return false;
    };
    m_clients.erase(std::remove_if(m_clients.begin(), m_clients.end(), isSilent), m_clients.end());
    if (m_clients.empty()) {
        return tl::unexpected(m_silent.front());
    }
    return items;
}

void Servers::keepThoseOf(const Items& items)
{
    const auto hasNone = [&items](const std::unique_ptr<KELClientInterface>& client) {
        return std::none_of(
            items.begin(), items.end(),
            [server = serverName(client->busName())](const Item& item) { return item.server == server; });
    };
    m_clients.erase(std::remove_if(m_clients.begin(), m_clients.end(), hasNone), m_clients.end());
}

} // namespace mirror

#include "LiveItems.h"

#include <QDBusConnection>

namespace mirror {

LiveItems::LiveItems(Servers servers, QStringList patterns)
    : m_busLoss(ownConnection())
    , m_servers(std::move(servers))
    , m_patterns(std::move(patterns))
{
    connect(&m_busLoss, &base::BusLoss::lost, this, &LiveItems::busLost);
    if (!ownConnection().isConnected()) { // the signal came before anybody listened
        QMetaObject::invokeMethod(this, &LiveItems::busLost, Qt::QueuedConnection);
    }
}

base::Result<Items> LiveItems::start()
{
    bool isAnswered = false;
    for (const auto& client : m_servers.clients()) {
        follow(*client);
        if (const auto snapshot = client->watch(askedFor(m_patterns))) {
            append(itemsOf(*client, *snapshot));
            isAnswered = true;
        } else {
            m_servers.addSilent(errorFrom(snapshot.error()));
        }
    }
    if (!isAnswered) {
        return tl::unexpected(m_servers.silent().front());
    }
    return m_items;
}

void LiveItems::follow(KELClientInterface& client)
{
    const QString server = serverName(client.busName());
    connect(&client, &KELClientInterface::changed, this, &LiveItems::take);
    connect(&client, &KELClientInterface::serverLeft, this, [this, server] {
        m_absent.insert(server);
        Q_EMIT serverLeft(server);
    });
    connect(&client, &KELClientInterface::serverReturned, this, [this, &client] { takeAgain(client); });
}

void LiveItems::append(const Items& items)
{
    for (const Item& item : items) {
        m_positions.insert(item.address, m_items.size());
        m_items += item;
    }
}

void LiveItems::take(const ipc::ItemRecords& records)
{
    for (const ipc::ItemRecord& record : records) {
        const auto position = m_positions.constFind(record.address);
        if (position == m_positions.constEnd()) {
            continue;
        }
        const Item before = m_items[*position];
        if (const Change change = apply(record.properties, m_items[*position])) {
            Q_EMIT itemChanged(*position, change, before);
        }
    }
    Q_EMIT turnEnded();
}

void LiveItems::takeAgain(KELClientInterface& client)
{
    const auto snapshot = client.watch(askedFor(m_patterns));
    if (!snapshot) {
        Q_EMIT failed(errorFrom(snapshot.error()));
        return;
    }
    const QString server = serverName(client.busName());
    m_absent.remove(server);
    Q_EMIT serverReturned(server);
    for (const Item& item : itemsOf(client, *snapshot)) {
        const auto position = m_positions.constFind(item.address);
        if (position == m_positions.constEnd()) {
            append({ item });
            continue;
        }
        const Item before = m_items[*position];
        if (const Change change = replace(item, m_items[*position])) {
            Q_EMIT itemChanged(*position, change, before);
        }
    }
    Q_EMIT turnEnded();
}

} // namespace mirror

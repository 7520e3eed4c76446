#pragma once

#include "BusLoss.h"
#include "Item.h"
#include "Servers.h"

#include <QHash>
#include <QObject>
#include <QSet>

namespace mirror {

/// The items of some servers, kept as they are now by the servers' change signals. A server that leaves keeps
/// its items as they were; when it returns, what differs then counts as changed.
class LiveItems : public QObject
{
    Q_OBJECT
public:
    /// @param patterns choose what it holds at least, as in Servers::list()
    explicit LiveItems(Servers servers, QStringList patterns = {});

    /// Fails when no server answers.
    base::Result<Items> start();

    [[nodiscard]] const Items& items() const { return m_items; }
    [[nodiscard]] const Servers& servers() const { return m_servers; }
    [[nodiscard]] bool isPresent(const Item& item) const { return !m_absent.contains(item.server); }

Q_SIGNALS:
    void itemChanged(int position, mirror::Change change, const mirror::Item& before);
    /// After the itemChanged() of everything that one signal of a server brought.
    void turnEnded();
    void serverLeft(const QString& server);
    void serverReturned(const QString& server);
    /// A server that came back does not answer.
    void failed(const base::Error& error);
    void busLost();

private:
    void follow(KELClientInterface& client);
    void take(const ipc::ItemRecords& records);
    void takeAgain(KELClientInterface& client);
    void append(const Items& items);

    base::BusLoss m_busLoss;
    Servers m_servers;
    QStringList m_patterns;
    Items m_items;
    QHash<QString, int> m_positions; ///< by address
    QSet<QString> m_absent; ///< names of servers
};

} // namespace mirror

#pragma once

#include "Result.h"
#include "client/KELClientInterface.h"

#include <QHash>
#include <QObject>
#include <QStringList>

#include <vector>

namespace world {

/// What an item went through, as texts for a person: what it was, then each value that it took.
struct ItemHistory
{
    QString name; ///< "status", or "pairlistName:3" for an instance
    QStringList values;
};

/// The items of a server as they are now, and what became of them since a moment.
class ItemMirror : public QObject
{
    Q_OBJECT
public:
    explicit ItemMirror(KELClientInterface& server);

    /// Fetches the items.
    [[nodiscard]] base::Result<> begin();

    /// The value as a person reads it: an enumeration's label, "true", or a text as it is. Empty for unknown
    /// names.
    [[nodiscard]] QString text(const QString& name) const;
    [[nodiscard]] bool applies(const QString& name) const;
    /// The index of the row of a list whose item has this value; -1 when there is none.
    [[nodiscard]] int row(const QString& item, const QString& value) const;

    /// From here on history() begins anew.
    void mark() { m_history.clear(); }
    /// What changed since mark(), in the order of the first changes.
    [[nodiscard]] const std::vector<ItemHistory>& history() const { return m_history; }

Q_SIGNALS:
    void changed();

private:
    struct Entry
    {
        QString name;
        QString text;
        bool applies = true;
    };
    void add(const ipc::ItemRecord& record);
    void apply(const ipc::ItemRecords& records);
    void note(const QString& name, const QString& before, const QString& now);

    KELClientInterface& m_server;
    QHash<QString, Entry> m_byAddress;
    QHash<QString, QString> m_addresses; ///< by name
    std::vector<ItemHistory> m_history;
};

} // namespace world

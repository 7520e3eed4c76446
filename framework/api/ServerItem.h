#pragma once

#include "IpcExport.h"

#include <QString>
#include <QVariant>

namespace ipc {
class Item;
}

/// A module's handle on one of its items (a config, a result, or one instance of a list item).
/// It is owned by the module and lives as long as it does. What a module writes through it is the truth
/// and is not checked against the limits: those bind clients.
class IPC_EXPORT ServerItem
{
public:
    explicit ServerItem(ipc::Item& item);
    ServerItem(const ServerItem&) = delete;
    ServerItem& operator=(const ServerItem&) = delete;

    [[nodiscard]] QVariant value();

    /// Stores a value, converted to the item's type where that is possible. Announces itemChanged() at once
    /// when the item is observed, also for the value that it has already.
    /// @param announce false keeps the change from clients until the next announced one.
    void setValue(const QVariant& value, bool announce);

    /// What clients may write: the length in characters of a text, the value of anything else.
    void setRange(const QVariant& minimum, const QVariant& maximum);

    /// A text that a client writes has to match the whole of this expression (Perl syntax, anchored).
    void setRegularExpression(const QString& expression);

    /// Applies on top of the item's expression: an item that a module made inapplicable stays so whatever
    /// the expression says. Advice for clients; nothing refuses a write because of it.
    /// @param announce as for setValue().
    void setApplicable(bool applicable, bool announce);

private:
    ipc::Item& m_item;
};

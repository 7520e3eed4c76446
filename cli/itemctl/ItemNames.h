#pragma once

#include "Common.h"
#include "Conditions.h"
#include "Item.h"
#include "Servers.h"

#include <QString>
#include <QStringList>

namespace itemctl {

/// What a name may stand for.
enum class Wanted {
    Any,
    Valued, ///< a config or a result; an action only when nothing else has the name
    Action
};

/// The position of the item that a person means: a full address, "module:id" or "id", each with ":INDEX" for
/// an instance. Fails when there is none (and names the nearest), or several (and names them).
base::Result<int> findItem(const Items& items, const QString& name, Wanted wanted);

/// The positions of all instances of the list that a person means, named as an item without an index; fails
/// as findItem() does.
base::Result<QVector<int>> findRows(const Items& items, const QString& name);

/// Why a name was not found, by what is known of the servers that are not among these: one of them may well
/// have it, so that a script which waits for a restart is not told of a mistake.
/// @param error why it was not found on those that answered
base::Error notFound(const Items& items, const Servers& servers, const QString& name,
                     const base::Error& error);

/// The condition with its value as the item has it, which its server knows.
base::Result<Condition> bind(const Condition& condition, const Item& item, const Servers& servers);

/// The server that a full address names ("bluetoothlauncher"); empty for a shorter name.
QString serverOfAddress(const QString& name);

/// Whether a shell pattern fits the item's "module:id", with or without its index; a pattern without a colon
/// fits the id alone as well, and one that begins with a colon the full address.
bool matches(const Item& item, const QString& pattern);
bool matchesAny(const Item& item, const QStringList& patterns);

/// The items that one of the patterns fits, in their order; all of them when there is no pattern.
Items matching(const Items& items, const QStringList& patterns);

/// The patterns that fit no item.
QStringList unmatched(const Items& items, const QStringList& patterns);

/// Fails when some of the patterns fit no item, as notFound() does.
base::Result<> checkAllMatch(const Items& items, const Servers& servers, const QStringList& patterns);

} // namespace itemctl

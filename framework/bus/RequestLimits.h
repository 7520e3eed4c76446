#pragma once

#include "Outcome.h"

#include <QString>
#include <QStringList>
#include <QVariant>

/// What one request of a client may carry, so that none of them makes the server, and everybody who watches
/// it, slow or large. Far above what anybody needs; a module's own writes are not bound by it.
namespace ipc::limits {

constexpr int NameLength = 256; ///< characters of an item's name, and of a pattern
constexpr int Patterns = 64; ///< of List and Watch
constexpr int TextLength = 65'536; ///< characters of all texts in a value together, or of an action's text
constexpr int Depth = 8; ///< levels of containers and variants within a value
constexpr int Values = 1'024; ///< keys, elements and values within a value

/// Bytes of one message, which a bus ends the connection for when it is larger than 32 MB. Binds the server's
/// own.
constexpr qint64 MessageSize = 30'000'000;

// The error of each says which limit is exceeded and what would be right.
[[nodiscard]] Outcome<Done> checkName(const QString& name);
[[nodiscard]] Outcome<Done> checkPatterns(const QStringList& patterns);
[[nodiscard]] Outcome<Done> checkText(const QString& action, const QString& text);
[[nodiscard]] Outcome<Done> checkValue(const QString& item, const QVariant& value);

/// How long the texts in a value are together; one that exceeds the limits is not looked at to its end.
[[nodiscard]] qint64 characters(const QVariant& value);

} // namespace ipc::limits

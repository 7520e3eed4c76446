#pragma once

#include <QString>
#include <QStringList>

namespace base {

/// The one of \a words that \a typed was probably meant to be, whatever the case; empty when none is near
/// enough: a third of its letters may be wrong, missing, superfluous or swapped with their neighbour.
[[nodiscard]] QString nearestWord(const QString& typed, const QStringList& words);

} // namespace base

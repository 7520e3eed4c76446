#pragma once

#include <QStringList>
#include <QVariant>

namespace bt {

/// Values of a D-Bus shape, by its signature, to send in the place of what a client expects. Each has an
/// element or two where it is a list, so that a reader who does not look finds something to misread.
[[nodiscard]] QStringList payloadShapes();
/// Invalid when there is no such shape.
[[nodiscard]] QVariant payloadOfShape(const QString& signature);

} // namespace bt

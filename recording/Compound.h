#pragma once

#include <QByteArray>
#include <QVariantList>

namespace recording {

/// The number of Qt's type for values of a D-Bus signature, which has to be valid. Arrays, structures and
/// dictionaries get one when they are first asked for.
[[nodiscard]] int valueType(const QByteArray& signature);

/// An array, structure or dictionary, ready to be sent. Its parts have the types of the signature; those of a
/// dictionary are key, value, key, value, in their order.
[[nodiscard]] QVariant compoundValue(const QByteArray& signature, const QVariantList& parts);

} // namespace recording

#pragma once

#include <QByteArray>
#include <QVariantList>

namespace recording {

/// An array, structure or dictionary of a valid signature, ready to be sent. Its parts have the types of the
/// signature; those of a dictionary are key, value, key, value, in their order.
[[nodiscard]] QVariant containerValue(const QByteArray& signature, const QVariantList& parts);

} // namespace recording

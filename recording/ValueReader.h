#pragma once

#include "Result.h"

#include <nlohmann/json_fwd.hpp>

#include <QByteArray>
#include <QString>
#include <QVariant>

namespace recording {

/// A value of a D-Bus type, whose signature has to be valid, from JSON:
///
///     y n q i u x t   a whole number            d           a number, or "NaN", "Infinity", "-Infinity"
///     b               true or false             s o g       a text
///     v               { "type": its signature, "value": it }
///     array, structure: a list                  dictionary: a list of [key, value], or an object
///
/// The error tells the part that is wrong behind \a name, which the value has for a person: "the value at
/// [0][2] is 4.5 but has to be …".
[[nodiscard]] base::Result<QVariant> readValue(const QByteArray& signature, const nlohmann::json& json,
                                               const QString& name);

/// The value of { "type": …, "value": … }.
[[nodiscard]] base::Result<QVariant> readTypedValue(const nlohmann::json& json, const QString& name);

} // namespace recording

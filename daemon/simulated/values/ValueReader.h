#pragma once

#include <nlohmann/json_fwd.hpp>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <variant>

namespace bt {

/// Why something is no value of its type.
struct ValueProblem
{
    QString place; ///< of the part that is wrong, like "[0][2]"; empty when it is the whole
    QString text; ///< what it is and what it has to be

    /// Both, for a value that \a name tells.
    [[nodiscard]] QString of(const QString& name) const;
};

/// A value of a D-Bus type, whose signature has to be valid, from JSON:
///
///     y n q i u x t   a whole number            d           a number, or "NaN", "Infinity", "-Infinity"
///     b               true or false             s o g       a text
///     v               { "type": its signature, "value": it }
///     array, structure: a list                  dictionary: a list of [key, value], or an object
[[nodiscard]] std::variant<QVariant, ValueProblem> readValue(const QByteArray& signature,
                                                             const nlohmann::json& json);

/// The value of { "type": …, "value": … }.
[[nodiscard]] std::variant<QVariant, ValueProblem> readTypedValue(const nlohmann::json& json);

} // namespace bt

#pragma once

#include "Result.h"

#include <QByteArray>
#include <QString>

#include <utility>
#include <variant>
#include <vector>

namespace bt {

/// A JSON value that knows the line on which it stands, so that whoever does not like it can say where it is.
struct JsonValue
{
    using Members = std::vector<std::pair<QString, JsonValue>>; ///< in the order of the text, no name twice
    using Elements = std::vector<JsonValue>;

    int line = 0; ///< from 1; of a member the line of its name
    /// Null, a truth value, a number, a text, or what is in it.
    std::variant<std::nullptr_t, bool, double, QString, Members, Elements> content = nullptr;

    template <typename Type>
    [[nodiscard]] const Type* as() const
    {
        return std::get_if<Type>(&content);
    }
};

/// The error, with its line, is of a text that is no JSON or nested too deep, or of an object with a name
/// twice.
[[nodiscard]] base::Result<JsonValue> parseJson(const QByteArray& text);

} // namespace bt

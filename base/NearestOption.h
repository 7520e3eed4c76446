#pragma once

#include "NearestWord.h"

#include <CLI/CLI.hpp>

namespace base {

/// What to say of an option that \a app does not know: the one that was probably meant, if any is near
/// enough.
/// @return like: no option "--jsn"; did you mean "--json"?
[[nodiscard]] inline QString unknownOption(const CLI::App& app, const std::string& typed)
{
    QStringList known;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            known += QString::fromStdString(name);
        }
    }
    const QString option = QString::fromStdString(typed).section(QLatin1Char('='), 0, 0);
    // The dashes, which are always right, would let words that have nothing in common look alike.
    const QString near = nearestWord(option.mid(option.startsWith(QLatin1String("--")) ? 2 : 1), known);
    const QString message = QStringLiteral("no option \"%1\"").arg(option);
    return near.isEmpty() ? message : message + QStringLiteral("; did you mean \"--%1\"?").arg(near);
}

} // namespace base

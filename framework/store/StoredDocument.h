#pragma once

#include "Outcome.h"

#include <QByteArray>
#include <QString>

#include <nlohmann/json.hpp>

#include <optional>

namespace ipc {

using Json = nlohmann::ordered_json;

/// What a file of configs holds: an object, whose "modules" is one if it is there. An empty one when there is
/// no file. Nothing when the file could not be used: it is kept under another name then, which is told with
/// what that means for the configs, \a consequence. No reader waits for a pipe, or takes in what has no end:
/// the file has to be a regular one, of at most 4 MiB, nested at most 32 deep.
[[nodiscard]] Outcome<std::optional<Json>> readDocument(const QString& path, const QString& consequence);

/// The text of a document. The error is of one that could not be read again.
[[nodiscard]] Outcome<QByteArray> documentText(const Json& document);

} // namespace ipc

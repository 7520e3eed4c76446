#pragma once

#include "IpcExport.h"
#include "Outcome.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>

namespace ipc {

/// What a text means as the value of an item, with the text that the item's own value has when that is equal;
/// the error says what would be right. Understands it as the item's type has it: an enumeration's number,
/// symbol or label, true and false or 1 and 0, numbers however they are written. A number outside of an
/// enumeration is a value, because a module may write it.
/// @param description what KELClientInterface::describe() answers
IPC_EXPORT Outcome<QVariant> expectedValue(const QVariantMap& description, const QString& text);

/// A value as a person reads it: "3 (On)", and a text in quotation marks.
IPC_EXPORT QString shownValue(const QVariantMap& description, const QVariant& value);

} // namespace ipc

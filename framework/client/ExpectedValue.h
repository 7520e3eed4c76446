#pragma once

#include "IpcExport.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>

namespace ipc {

/// What a text means as the value of an item, or why it cannot be one.
struct ExpectedValue
{
    QVariant value; ///< with the text that the item's own value has, when that is equal
    QString problem; ///< what would be right; empty when the text can be a value
};

/// Understands a text as the item's type has it: an enumeration's number, symbol or label, true and false or
/// 1 and 0, numbers however they are written. A number outside of an enumeration is a value, because a module
/// may write it.
/// @param description what KELClientInterface::describe() answers
IPC_EXPORT ExpectedValue expectedValue(const QVariantMap& description, const QString& text);

/// A value as a person reads it: "3 (On)", and a text in quotation marks.
IPC_EXPORT QString shownValue(const QVariantMap& description, const QVariant& value);

} // namespace ipc

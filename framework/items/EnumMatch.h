#pragma once

#include "EnumType.h"
#include "IpcExport.h"

#include <QString>
#include <QVector>

#include <optional>

namespace ipc {

/// The number that a person means by a text: a value's number, its symbol, its symbol without the prefix that
/// all symbols share ("SCANDONE"), or its label, in this order; letter case only counts when it decides.
/// Nothing when no value fits, or several do.
IPC_EXPORT std::optional<int> findEnumValue(const QVector<EnumValue>& values, const QString& text);

/// The label of a number; empty for a number outside of the enumeration.
IPC_EXPORT QString enumLabel(const QVector<EnumValue>& values, qlonglong value);
/// Its symbol, likewise.
IPC_EXPORT QString enumSymbol(const QVector<EnumValue>& values, qlonglong value);

/// A number as a person reads it: "3 (On)"; alone when it has no label.
IPC_EXPORT QString shownEnumValue(const QString& number, const QString& label);

/// All of them: "0 (Off), 3 (On)".
IPC_EXPORT QString shownEnumValues(const QVector<EnumValue>& values);

} // namespace ipc

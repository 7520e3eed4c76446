#pragma once

#include "PairingCause.h"

#include <QDBusError>

#include <optional>

namespace bt {

/// Why bluetoothd could not pair or connect, from the name of its error, and from its message where
/// connecting failed: there it is the only thing that tells. What several reasons come out as stays open.
Cause causeOf(const QDBusError& error);

/// The cause by the error, or what the kernel has told where that says more.
Cause exactly(const QDBusError& error, const std::optional<Cause>& byKernel);

/// What bluetoothd said itself.
QString detailOf(const QDBusError& error);

} // namespace bt

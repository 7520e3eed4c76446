#pragma once

#include "Finding.h"

#include <QDBusConnection>

namespace bt {

/// The programs behind these names on the bus that are known to take pairing questions or services;
/// bluetoothd does not tell.
Findings findingsOfPrograms(const QDBusConnection& bus, const QStringList& names);

/// "5.66" of the bluetoothd that runs; empty when it does not tell.
QString versionOfBluez(const QDBusConnection& bus);

/// Whether an adapter that offers this UUID has a program for its audio.
bool isAudioService(const QString& uuid);

} // namespace bt

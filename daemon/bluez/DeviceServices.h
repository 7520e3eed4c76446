#pragma once

#include <BluezQt/Device>

#include <QString>

#include <optional>

namespace bt {

/// The UUID of the service by which an iOS device talks to accessories.
inline const QString IapUuid = QStringLiteral("00000000-deca-fade-deca-deafdecacafe");

/// The bits of bt::Connection of a device that is connected. bluetoothd tells whether there is a link, and
/// hardly which services use it: the bits come from the services that the device offers. Plain stands alone.
/// \param plays whether its audio service is connected, where bluetoothd tells that
unsigned connectionBits(const QStringList& uuids, BluezQt::Device::Type type, std::optional<bool> plays);

/// Nothing when bluetoothd would not tell: a transport stands for the music of a sound server at this
/// machine alone. Hands-free belongs to the sound server, and is never shown.
std::optional<bool> playsThrough(const BluezQt::Device& device);

/// Whether a paired device may use the service by itself: those that the radio is for (serial ports, headsets
/// and their remote control, file transfer, iOS accessories), or those of $BLUEZ_SERVICES in their place,
/// UUIDs with commas in between. A phone that is paired for its music does not become a keyboard.
bool isServed(const QString& uuid);

/// The 128-bit form of a UUID, lower case; empty when the text is none. Takes 16 and 32 bits in hexadecimal,
/// with or without "0x", as well.
QString fullUuid(const QString& text);

} // namespace bt

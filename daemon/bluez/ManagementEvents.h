#pragma once

#include "PairingCause.h"

#include <QDBusUnixFileDescriptor>

#include <optional>

namespace bt {

/// What the kernel's management socket tells of links and pairings while this object lives: more exact than
/// bluetoothd's errors, and told to root and CAP_NET_ADMIN alone (BlueZ, doc/mgmt-api.txt). For others it
/// knows nothing.
class ManagementEvents
{
public:
    ManagementEvents();
    /// Messages of the same form from elsewhere.
    explicit ManagementEvents(const QDBusUnixFileDescriptor& source)
        : m_socket(source)
    {
    }

    /// How the attempt at this device has ended, by all that has been told by now; nothing when it was not
    /// told.
    [[nodiscard]] std::optional<Cause> causeOf(qulonglong address) const;

private:
    QDBusUnixFileDescriptor m_socket;
};

} // namespace bt

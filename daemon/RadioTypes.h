#pragma once

#include <QObject>
#include <QString>

/// What a radio tells and answers. The numbers are those of the daemon's interface.
namespace bt {
Q_NAMESPACE

enum class Status { NoDevice = 0, Off = 1, Starting = 2, On = 3, Stopping = 4 };

enum class ScanState { NeverScanned = 0, Scanning = 1, Complete = 2 };

enum class PairState {
    Idle = 0,
    Outgoing = 1,
    Incoming = 2,
    PinNeeded = 3, ///< waits for pinReply() or pinDecline()
    NeedConfirmation = 4, ///< waits for confirmCode() or rejectCode(); there is a code to compare
    NeedSimpleConfirmation = 5, ///< waits for confirmCode() or rejectCode(); there is no code
    Finishing = 6,
    Paired = 100,
    Failed = 200, ///< our user did not want it, or the radio could not do it
    FailedAuthentication = 201, ///< wrong PIN, refused by the device, or nobody answered in time
    FailedConnection = 202 ///< the device was out of reach
};

/// Whether no pairing is under way; a settled state stays until the next pairing.
constexpr bool isSettled(PairState state)
{
    return state == PairState::Idle || state >= PairState::Paired;
}

/// The bits of a paired device's connection state.
enum Connection : unsigned { NotConnected = 0, Plain = 1, Iap = 2, Headset = 4, Ftp = 8 };

/// How a pairing stands.
struct PairingProgress
{
    PairState state = PairState::Idle;
    /// The device's name, or UnknownName and the address; empty when no pairing is under way.
    QString device;
    /// Six digits while there is a code to compare ("000000" is one), otherwise empty.
    QString code;
};

/// What clients replace by a text of their language.
constexpr QLatin1String UnknownName("`,.\";00!", 8);

/// What stands for the name of a device that has not told one.
inline QString unknownDevice(const QString& address)
{
    return UnknownName + QStringLiteral(" - ") + address;
}

} // namespace bt

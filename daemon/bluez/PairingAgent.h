#pragma once

#include "RadioTypes.h"
#include "Result.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>

#include <optional>

namespace bt {

/// What bluetoothd wants to know from the user while it pairs.
struct PairingQuestion
{
    PairState state = PairState::Idle; ///< one of those that wait for an answer
    QString code; ///< in NeedConfirmation; six digits, or a PIN as it is
    /// bluetoothd shows the code, for the other device to be told, and waits for no answer of ours.
    bool onlyShown = false;
};

/// bluetoothd's org.bluez.Agent1: takes its questions and keeps the one that is open.
class PairingAgent : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.Agent1")

public:
    /// Makes this the agent of this program's pairings and of those that other devices begin.
    void registerAtBluez();
    void unregisterAtBluez();

    /// Answers the open question; refused when the text is no PIN or code of the kind that is asked for.
    [[nodiscard]] base::Result<> replyPin(const QString& pin);
    void confirm();
    void refuse();

public Q_SLOTS:
    // The methods of the interface, with bluetoothd's names and arguments.
    void Release();
    QString RequestPinCode(const QDBusObjectPath& device);
    void DisplayPinCode(const QDBusObjectPath& device, const QString& pinCode);
    uint RequestPasskey(const QDBusObjectPath& device);
    void DisplayPasskey(const QDBusObjectPath& device, uint passkey, ushort entered);
    void RequestConfirmation(const QDBusObjectPath& device, uint passkey);
    void RequestAuthorization(const QDBusObjectPath& device);
    void AuthorizeService(const QDBusObjectPath& device, const QString& uuid);
    void Cancel();

Q_SIGNALS:
    /// May be answered, or refused, at once.
    void asked(const QString& devicePath, const bt::PairingQuestion& question);
    /// bluetoothd no longer wants to know.
    void cancelled();
    /// A device wants to use a service; who listens says whether it may, directly.
    void serviceWanted(const QString& devicePath, const QString& uuid, bool& allowed);

private:
    void ask(const QDBusObjectPath& device, const PairingQuestion& question);
    void reply(const QVariantList& values);

    std::optional<QDBusMessage> m_open;
};

} // namespace bt

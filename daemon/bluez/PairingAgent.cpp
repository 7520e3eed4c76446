#include "PairingAgent.h"

#include "BluezBus.h"
#include "BluezCall.h"

#include <QDBusConnection>

#include <utility>

namespace bt {

namespace {

constexpr int CodeDigits = 6;
constexpr int LongestPin = 16; // bytes; the standard's limit

const QString& agentPath()
{
    static const QString path = QStringLiteral("/com/qarn/Bluetooth/agent");
    return path;
}

BluezCall managerCall(const QString& method, const QVariantList& arguments)
{
    return { QStringLiteral("/org/bluez"), QStringLiteral("org.bluez.AgentManager1"), method, arguments };
}

QString codeText(uint passkey)
{
    return QString::number(passkey).rightJustified(CodeDigits, QLatin1Char('0'));
}

std::optional<uint> passkey(const QString& text)
{
    bool isNumber = false;
    const uint number = text.toUInt(&isNumber);
    return isNumber && text.size() <= CodeDigits ? std::optional<uint>(number) : std::nullopt;
}

} // namespace

void PairingAgent::registerAtBluez()
{
    BluezBus::connection().registerObject(agentPath(), this, QDBusConnection::ExportAllSlots);
    const QVariant path = QVariant::fromValue(QDBusObjectPath(agentPath()));
    tellBluez(managerCall(QStringLiteral("RegisterAgent"), { path, QStringLiteral("KeyboardDisplay") }),
              QStringLiteral("becoming bluetoothd's pairing agent"));
    // Answers are in order: this one fails when the first did.
    sendToBluez(managerCall(QStringLiteral("RequestDefaultAgent"), { path }));
}

void PairingAgent::unregisterAtBluez()
{
    refuse();
    sendToBluez(managerCall(QStringLiteral("UnregisterAgent"),
                            { QVariant::fromValue(QDBusObjectPath(agentPath())) }));
}

void PairingAgent::ask(const QDBusObjectPath& device, const PairingQuestion& question)
{
    refuse(); // bluetoothd asks one thing at a time
    setDelayedReply(true);
    m_open = message();
    Q_EMIT asked(device.path(), question);
}

void PairingAgent::reply(const QVariantList& values)
{
    if (m_open) {
        const QDBusMessage question = *std::exchange(m_open, std::nullopt);
        BluezBus::connection().send(question.createReply(values));
    }
}

void PairingAgent::refuse()
{
    if (m_open) {
        const QDBusMessage question = *std::exchange(m_open, std::nullopt);
        BluezBus::connection().send(question.createErrorReply(QStringLiteral("org.bluez.Error.Rejected"),
                                                              QStringLiteral("the user does not want it")));
    }
}

void PairingAgent::confirm()
{
    reply({});
}

base::Result<> PairingAgent::replyPin(const QString& pin)
{
    if (m_open && m_open->member() == QLatin1String("RequestPasskey")) {
        const std::optional<uint> number = passkey(pin);
        if (!number) {
            return base::error(QStringLiteral("this device shows a code; it has up to six digits"),
                               base::Failure::InvalidArgument);
        }
        reply({ *number });
        return {};
    }
    if (pin.isEmpty() || pin.toUtf8().size() > LongestPin) {
        return base::error(QStringLiteral("a PIN has 1 to 16 bytes"), base::Failure::InvalidArgument);
    }
    reply({ pin });
    return {};
}

// bluetoothd has ended or has unregistered us.
void PairingAgent::Release()
{
    Cancel();
}

void PairingAgent::Cancel()
{
    m_open.reset();
    Q_EMIT cancelled();
}

QString PairingAgent::RequestPinCode(const QDBusObjectPath& device)
{
    ask(device, { PairState::PinNeeded, {}, false });
    return {};
}

uint PairingAgent::RequestPasskey(const QDBusObjectPath& device)
{
    ask(device, { PairState::PinNeeded, {}, false });
    return 0;
}

// The user types what we show on the other device: there is nothing to send back.
void PairingAgent::DisplayPinCode(const QDBusObjectPath& device, const QString& pinCode)
{
    Q_EMIT asked(device.path(), { PairState::NeedConfirmation, pinCode, true });
}

void PairingAgent::DisplayPasskey(const QDBusObjectPath& device, uint passkey, ushort entered)
{
    if (entered == 0) { // otherwise a key was pressed over there
        Q_EMIT asked(device.path(), { PairState::NeedConfirmation, codeText(passkey), true });
    }
}

void PairingAgent::RequestConfirmation(const QDBusObjectPath& device, uint passkey)
{
    ask(device, { PairState::NeedConfirmation, codeText(passkey), false });
}

void PairingAgent::RequestAuthorization(const QDBusObjectPath& device)
{
    ask(device, { PairState::NeedSimpleConfirmation, {}, false });
}

void PairingAgent::AuthorizeService(const QDBusObjectPath& device, const QString& uuid)
{
    bool allowed = false;
    Q_EMIT serviceWanted(device.path(), uuid, allowed);
    if (!allowed) {
        sendErrorReply(QStringLiteral("org.bluez.Error.Rejected"),
                       QStringLiteral("the device is not paired, or the service is not wanted"));
    }
}

} // namespace bt

#include "BluetoothModule.h"

#include <boost/bind/bind.hpp>

#include <array>

namespace {

struct Command
{
    const char* id;
    const char* label;
    void (BluetoothModule::*member)();
};

constexpr std::array<Command, 7> Commands{ {
    { "scan", QT_TRANSLATE_NOOP("BluetoothModule", "Scan"), &BluetoothModule::Scan },
    { "cancelscan", QT_TRANSLATE_NOOP("BluetoothModule", "Cancel Scan"), &BluetoothModule::CancelScan },
    { "confirmcode", QT_TRANSLATE_NOOP("BluetoothModule", "Confirm Code"), &BluetoothModule::ConfirmCode },
    { "rejectcode", QT_TRANSLATE_NOOP("BluetoothModule", "Reject Code"), &BluetoothModule::RejectCode },
    { "pindecline", QT_TRANSLATE_NOOP("BluetoothModule", "PIN Decline"), &BluetoothModule::PINdecline },
    { "killiap", QT_TRANSLATE_NOOP("BluetoothModule", "Kill iAP Connection"), &BluetoothModule::killIAP },
    { "cycleradio", QT_TRANSLATE_NOOP("BluetoothModule", "Cycle Radio"), &BluetoothModule::cycleRadio },
} };

enum class Label { Translated, Plain };
struct TextCommand
{
    const char* id;
    const char* label;
    std::string (BluetoothModule::*member)(std::string);
    Label kind = Label::Translated;
};

constexpr std::array<TextCommand, 9> TextCommands{ {
    { "pinreply", QT_TRANSLATE_NOOP("BluetoothModule", "PIN Reply"), &BluetoothModule::PINreply },
    { "pair", QT_TRANSLATE_NOOP("BluetoothModule", "Pair with Device"), &BluetoothModule::Pair },
    { "connectAddr", QT_TRANSLATE_NOOP("BluetoothModule", "Connect to Addr"), &BluetoothModule::ConnectAddr },
    { "disconnectAddr", QT_TRANSLATE_NOOP("BluetoothModule", "Disconnect From Addr"),
      &BluetoothModule::DisconnectAddr },
    { "unpair", QT_TRANSLATE_NOOP("BluetoothModule", "Unpair from Device"), &BluetoothModule::UnPair },
    // Other processes call this one, not people.
    { "requestBluetooth", "Internal Use", &BluetoothModule::RequestBluetooth, Label::Plain },
    { "registerrfcommuuid", QT_TRANSLATE_NOOP("BluetoothModule", "Register UUID"),
      &BluetoothModule::registerRFCOMMUUID },
    { "unregisterrfcommuuid", QT_TRANSLATE_NOOP("BluetoothModule", "Unregister UUID"),
      &BluetoothModule::unregisterRFCOMMUUID },
    { "sendwifedcmdctlfd", QT_TRANSLATE_NOOP("BluetoothModule", "Send Wifed CmdCtl FD"),
      &BluetoothModule::sendWifedCmdCtlFD },
} };

} // namespace

void BluetoothModule::createActions()
{
    // The framework's handlers are Boost's functions, and Boost's binding is what they are made for.
    for (const Command& command : Commands) {
        // NOLINTNEXTLINE(modernize-avoid-bind): see above
        AddActionNullParam(QLatin1String(command.id), tr(command.label), boost::bind(command.member, this));
    }

    for (const TextCommand& command : TextCommands) {
        const QString label =
            command.kind == Label::Translated ? tr(command.label) : QString::fromLatin1(command.label);
        AddActionStringParam(QLatin1String(command.id), label,
                             // NOLINTNEXTLINE(modernize-avoid-bind): see above
                             boost::bind(command.member, this, boost::placeholders::_1));
    }
}

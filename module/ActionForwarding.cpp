// Requests are fire and forget: replies and errors are dropped, what comes of a request shows in the daemon's
// signals. Without a daemon a request is dropped as well.
#include "BluetoothModule.h"

#include "AddressHelper.h"
#include "BluetoothIf.h"

namespace {

// The daemon's texts end at the first NUL, as C strings do.
QString plainText(const std::string& text)
{
    return QString::fromUtf8(text.c_str());
}

qulonglong toAddress(const std::string& text)
{
    return AddressHelper::str2int(QString::fromStdString(text));
}

} // namespace

void BluetoothModule::Scan()
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->Scan();
    }
}

void BluetoothModule::CancelScan()
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->CancelScan();
    }
}

void BluetoothModule::ConfirmCode()
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->ConfirmCode();
    }
}

void BluetoothModule::RejectCode()
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->RejectCode();
    }
}

void BluetoothModule::PINdecline()
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->PINdecline();
    }
}

void BluetoothModule::killIAP()
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->killIAP();
    }
}

std::string BluetoothModule::registerRFCOMMUUID(std::string uuid)
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->registerRFCOMMUUID(plainText(uuid));
    }
    return {};
}

std::string BluetoothModule::unregisterRFCOMMUUID(std::string uuid)
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->unregisterRFCOMMUUID(plainText(uuid));
    }
    return {};
}

std::string BluetoothModule::sendWifedCmdCtlFD(std::string text)
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->sendWifedCmdCtlFD(plainText(text));
    }
    return {};
}

std::string BluetoothModule::Pair(std::string address)
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->Pair(toAddress(address));
    }
    return {};
}

std::string BluetoothModule::ConnectAddr(std::string address)
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->ConnectAddr(toAddress(address));
    }
    return {};
}

std::string BluetoothModule::DisconnectAddr(std::string address)
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->DisconnectAddr(toAddress(address));
    }
    return {};
}

std::string BluetoothModule::UnPair(std::string address)
{
    if (bluetoothIf != nullptr) {
        bluetoothIf->UnPair(toAddress(address));
    }
    return {};
}

std::string BluetoothModule::PINreply(std::string pin)
{
    if (bluetoothIf == nullptr) {
        return {};
    }
    const QString storedPin = QStringLiteral("pinreplycfg");
    if (!pin.empty()) {
        bluetoothIf->PINreply(plainText(pin));
    } else if (configExists(storedPin)) {
        bluetoothIf->PINreply(config(storedPin)->value().toString());
        // A stored PIN answers one request; the next empty reply sends an empty PIN.
        setConfig(storedPin, QStringLiteral(""), true);
    }
    return {};
}

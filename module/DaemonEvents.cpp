// The daemon's signals as items. What counts is whether the payload's type can be converted; a text that is
// no number passes and is stored as 0.
#include "BluetoothModule.h"

#include "BluetoothIf.h"

#include <QDebug>
#include <QVariant>

#include <algorithm>

void BluetoothModule::onConfirmationCodeChanged(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<QString>()) {
        setResult(QStringLiteral("confirmationcode"), textIn(value), true);
    }
}

void BluetoothModule::onHeadsetConnected(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<qulonglong>()) {
        qDebug() << "addr:" << value.toULongLong();
    }
}

void BluetoothModule::onConnectionEstablished(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<qulonglong>()) {
        qDebug() << "Connected addr:" << value.toULongLong();
    }
}

void BluetoothModule::onPendingPairChanged(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (!value.canConvert<QString>()) {
        return;
    }
    // The daemon's own mark for a device whose name it does not know; it may stand within a longer text.
    const QString unknownName = QStringLiteral("`,.\";00!");
    setResult(QStringLiteral("pendingpair"), textIn(value).replace(unknownName, tr("Unknown Name")), true);
}

// Connected to nothing: see ServicePresence.cpp.
void BluetoothModule::onMyNameChanged(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<QString>()) {
        setConfig(QStringLiteral("myname"), textIn(value), true);
    }
}

void BluetoothModule::onPairStateChanged(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (!value.canConvert<int>()) {
        return;
    }
    const int state = value.toInt();
    setResult(QStringLiteral("pairstate"), state, true);
    const bool settled =
        std::find(SettledPairStates.begin(), SettledPairStates.end(), state) != SettledPairStates.end();
    setActionApplicable(scanAction(), settled);
}

void BluetoothModule::onScanStateChanged(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<int>()) {
        setResult(QStringLiteral("scanstate"), value.toInt(), true);
    }
}

// The module has no config "state"; one that the framework brings along receives the daemon's power state.
void BluetoothModule::onStateChanged(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<bool>()) {
        setConfig(QStringLiteral("state"), value.toBool(), true);
    }
}

void BluetoothModule::onStatusChanged(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<int>()) {
        setResult(QStringLiteral("status"), value.toInt(), true);
    }
}

// Both socket events say that the daemon's list of Wi-FEDs may have changed, whatever their payload is. The
// config "str" is none of the module's own either.
void BluetoothModule::onWifedCmdCtlSockAvailable(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (value.canConvert<QString>()) {
        setConfig(QStringLiteral("str"), textIn(value), true);
    }
    if (bluetoothIf != nullptr) {
        setResult(QStringLiteral("connectedwifeds"), bluetoothIf->wifedsConnected(), true);
    }
}

void BluetoothModule::onWifedCmdCtlSockClosed(const QDBusVariant& v)
{
    onWifedCmdCtlSockAvailable(v);
}

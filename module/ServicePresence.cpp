#include "BluetoothModule.h"

#include "BluetoothIf.h"

#include <QDBusConnection>

#include <array>

void BluetoothModule::onServiceRegistered(const QString& name)
{
    if (name != daemonService()) {
        return;
    }

    // A proxy of an earlier registration stays a child of the module: Disable() alone deletes one.
    bluetoothIf = new BluetoothIf(daemonService(), QStringLiteral("/com/qarn/Bluetooth"),
                                  QDBusConnection::systemBus(), this);

    struct Link
    {
        const char* signal;
        const char* slot;
    };
    // The daemon's myAddressChanged and myNameChanged are left out: a new name shows at the next refresh.
    const std::array<Link, 14> links{ {
        { SIGNAL(confirmationCodeChanged(QDBusVariant)), SLOT(onConfirmationCodeChanged(QDBusVariant)) },
        { SIGNAL(connectionEstablished(QDBusVariant)), SLOT(onConnectionEstablished(QDBusVariant)) },
        { SIGNAL(mtConnectionEstablished(QDBusVariant)), SLOT(onMTConnectionEstablished(QDBusVariant)) },
        { SIGNAL(headsetConnected(QDBusVariant)), SLOT(onHeadsetConnected(QDBusVariant)) },
        { SIGNAL(pairListChanged(QDBusVariant)), SLOT(onPairListChanged(QDBusVariant)) },
        { SIGNAL(pairStateChanged(QDBusVariant)), SLOT(onPairStateChanged(QDBusVariant)) },
        { SIGNAL(scanResultsChanged(QDBusVariant)), SLOT(onScanResultsChanged(QDBusVariant)) },
        { SIGNAL(scanStateChanged(QDBusVariant)), SLOT(onScanStateChanged(QDBusVariant)) },
        { SIGNAL(stateChanged(QDBusVariant)), SLOT(onStateChanged(QDBusVariant)) },
        { SIGNAL(statusChanged(QDBusVariant)), SLOT(onStatusChanged(QDBusVariant)) },
        { SIGNAL(pendingPairChanged(QDBusVariant)), SLOT(onPendingPairChanged(QDBusVariant)) },
        { SIGNAL(deviceDisconnected(QDBusVariant)), SLOT(onDeviceDisconnected(QDBusVariant)) },
        { SIGNAL(wifedCmdCtlSockAvailable(QDBusVariant)), SLOT(onWifedCmdCtlSockAvailable(QDBusVariant)) },
        { SIGNAL(wifedCmdCtlSockClosed(QDBusVariant)), SLOT(onWifedCmdCtlSockClosed(QDBusVariant)) },
    } };
    for (const Link& link : links) {
        connect(bluetoothIf, link.signal, this, link.slot);
    }

    statUpdate();
    enableConfig();
    setActionApplicable(scanAction(), true);
}

void BluetoothModule::onServiceUnregistered(const QString& name)
{
    if (name != daemonService()) {
        return;
    }
    setActionApplicable(scanAction(), false);
    Disable();
    // While the radio is lent, or in an orderly shutdown, the daemon goes without the user having switched
    // the radio off. The marker is left where it is while the radio is lent.
    if (lockOwnerPid == 0 && !checkShutdownLockFile()) {
        setConfig(QStringLiteral("enabled"), false, true);
    }
}

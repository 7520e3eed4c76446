#pragma once

#include "DaemonTypes.h"
#include "Framework.h"

#include <QDBusVariant>
#include <QString>

#include <array>
#include <string>

class BluetoothIf;
class QDBusServiceWatcher;

/// The framework module "bluetooth": publishes the radio's settings, state and commands as items, and stands
/// between them and the Bluetooth daemon, the radio controller and whoever borrows the radio.
///
/// Everything runs on the thread that constructed it. This header is the table of contents of the folder.
class Q_DECL_EXPORT BluetoothModule : public RegistrationModule
{
    Q_OBJECT
public:
    /// Publishes the items and begins to watch for the daemon; touches neither the daemon nor the radio.
    explicit BluetoothModule(QObject* parent);
    /// Leaves the controller running and every lock file in place.
    ~BluetoothModule() override;

    // What the module answers to the framework's questions; it has no stake in the other moments.
    FRAMEWORK_HOOKS

    // The order of the slots is the meta-object's method order and part of the library's interface.
public Q_SLOTS:
    void resourceCheck(); // RadioLock.cpp
    void statUpdate(); // StatusRefresh.cpp
    void slotLastConfigLoaded() override; // BluetoothModule.cpp
    void slotItemChanged(const QString& id); // Configs.cpp
    void onConfirmationCodeChanged(const QDBusVariant& v); // DaemonEvents.cpp
    void onConnectionEstablished(const QDBusVariant& v); // DaemonEvents.cpp
    void onMTConnectionEstablished(const QDBusVariant& v); // MobileAppLink.cpp
    void onMyNameChanged(const QDBusVariant& v); // DaemonEvents.cpp
    void onPairListChanged(const QDBusVariant& v); // DeviceLists.cpp
    void onPairStateChanged(const QDBusVariant& v); // DaemonEvents.cpp
    void onScanResultsChanged(const QDBusVariant& v); // DeviceLists.cpp
    void onScanStateChanged(const QDBusVariant& v); // DaemonEvents.cpp
    void onStateChanged(const QDBusVariant& v); // DaemonEvents.cpp
    void onStatusChanged(const QDBusVariant& v); // DaemonEvents.cpp
    void onHeadsetConnected(const QDBusVariant& v); // DaemonEvents.cpp
    void onDeviceDisconnected(const QDBusVariant& v); // MobileAppLink.cpp
    void onPendingPairChanged(const QDBusVariant& v); // DaemonEvents.cpp
    void onWifedCmdCtlSockAvailable(const QDBusVariant& v); // DaemonEvents.cpp
    void onWifedCmdCtlSockClosed(const QDBusVariant& v); // DaemonEvents.cpp
    void onServiceRegistered(const QString& name); // ServicePresence.cpp
    void onServiceUnregistered(const QString& name); // ServicePresence.cpp
    void cycleRadio(); // RadioPower.cpp

public:
    // Configs.cpp
    /// Starts the radio where "enabled" asks for it and no daemon is there yet. @return always ""
    std::string enableConfig();

    // ActionForwarding.cpp: each sends one request to the daemon, if there is one, and drops the reply.
    void Scan();
    void CancelScan();
    void ConfirmCode();
    void RejectCode();
    void PINdecline();
    void killIAP();
    std::string registerRFCOMMUUID(std::string uuid);
    std::string unregisterRFCOMMUUID(std::string uuid);
    std::string sendWifedCmdCtlFD(std::string text);
    std::string Pair(std::string address);
    std::string ConnectAddr(std::string address);
    std::string DisconnectAddr(std::string address);
    std::string UnPair(std::string address);
    /// @param pin empty for the stored "pinreplycfg", which is thereby used up
    std::string PINreply(std::string pin);

    // DeviceLists.cpp
    /// Publishes the first 32 devices in their order and clears the other rows; null clears all.
    void updatePairList(const PairList* list);
    void updateScanResults(const ScanResults* list);
    /// Back to what a daemon that reports nothing would show.
    void ClearResults();

    // RadioPower.cpp
    /// Starts the controller unless one was started, a daemon is there already or the radio is lent.
    void Enable();
    /// Stops the controller and waits for its end, drops the daemon, clears the results.
    void Disable();
    /// Consumes the marker of an orderly shutdown. @return whether there was one
    bool checkShutdownLockFile();

    // RadioLock.cpp
    /// Lends the radio or takes it back.
    /// @param params "PID,MODE", decimal: the borrower, and 0 to give back or anything else to take
    /// @return "Success", "Rejected" (not now) or "Failure" (not understood)
    std::string RequestBluetooth(std::string params);

    // MobileAppLink.cpp
    /// The record for the mobile synchronisation module: "deviceAddr" and "deviceConnected".
    KelAggregate createSyncMobileKelItemConnStatus(bool connected, unsigned long long addr);

private:
    Q_DECL_HIDDEN void reportConnection(bool connected, unsigned long long addr); // MobileAppLink.cpp

    // Functions, because a constant of this type would be made anew whenever the library is loaded.
    [[nodiscard]] Q_DECL_HIDDEN static QString daemonService()
    {
        return QStringLiteral("com.qarn.bluetooth");
    }
    [[nodiscard]] Q_DECL_HIDDEN static QString enabledConfig()
    {
        return QStringLiteral(":config:bluetoothlauncher:bluetooth:enabled:");
    }
    [[nodiscard]] Q_DECL_HIDDEN static QString scanAction()
    {
        return QStringLiteral(":action:bluetoothlauncher:bluetooth:scan:");
    }
    static constexpr int ListSize = 32; ///< rows of the paired-device list and of the scan results
    /// The pairing states in which no pairing is under way, so that a scan may start: idle, paired, failed.
    Q_DECL_HIDDEN static constexpr std::array<int, 5> SettledPairStates{ 0, 100, 200, 201, 202 };

    void createConfigs(); // Configs.cpp
    void createResults(); // Results.cpp
    void createActions(); // Actions.cpp

    // Hidden members are their file's own.

    // DeviceLists.cpp
    struct ListIds;
    Q_DECL_HIDDEN void publishDevice(const ListIds& ids, int index, qulonglong address, const QString& name,
                                     const QString& detail);
    Q_DECL_HIDDEN void clearDevices(const ListIds& ids, int firstIndex);

    // RadioLock.cpp
    Q_DECL_HIDDEN void lendRadio(int pid, int mode, ServerItem& enabled);
    Q_DECL_HIDDEN void takeRadioBack(int pid, ServerItem& enabled);

    // The order of the members is part of the library's interface as well. Nothing uses the two texts.
    QString reservedText1;
    QString reservedText2;
    QDBusServiceWatcher* serviceWatcher; ///< has no parent and is never deleted
    int controllerPid; ///< what fork() gave for the radio controller; -1 when none was started
    int lockOwnerPid; ///< who borrowed the radio; 0 when it is free
    int lockRequestValue; ///< the MODE of the loan
    bool radioSwitchInhibited; ///< nothing sets it; if set, "enabled" would not switch the radio
    bool cyclingRadio; ///< between the two steps of a cycle
    BluetoothIf* bluetoothIf; ///< the daemon; null while it is not on the bus
};

#undef FRAMEWORK_HOOKS

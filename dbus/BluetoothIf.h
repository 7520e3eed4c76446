#pragma once

#include "DaemonTypes.h"

#include <QDBusAbstractInterface>
#include <QDBusPendingReply>
#include <QDBusVariant>

/// The client's side of the daemon's interface "com.qarn.bluetooth".
///
/// Calls return at once; reading a property asks the daemon and waits for the answer. Written by hand,
/// because a generated proxy sorts its members: the order here, the argument names and their spelling are
/// part of the interface. A test compares them with com.qarn.bluetooth.xml.
class BluetoothIf : public QDBusAbstractInterface
{
    Q_OBJECT
    Q_PROPERTY(QString confirmationCode READ confirmationCode)
    Q_PROPERTY(qulonglong myAddress READ myAddress WRITE setMyAddress)
    Q_PROPERTY(QString myName READ myName WRITE setMyName)
    Q_PROPERTY(QString wifedsConnected READ wifedsConnected WRITE setWifedsConnected)
    Q_PROPERTY(PairList pairList READ pairList)
    Q_PROPERTY(int pairState READ pairState)
    Q_PROPERTY(ScanResults scanResults READ scanResults)
    Q_PROPERTY(int scanState READ scanState)
    Q_PROPERTY(bool state READ state WRITE setState)
    Q_PROPERTY(int status READ status)

public:
    static const char* staticInterfaceName() { return "com.qarn.bluetooth"; }

    BluetoothIf(const QString& service, const QString& path, const QDBusConnection& connection,
                QObject* parent);
    ~BluetoothIf() override;

    QString confirmationCode() const;
    qulonglong myAddress() const;
    void setMyAddress(qulonglong value);
    QString myName() const;
    void setMyName(const QString& value);
    QString wifedsConnected() const;
    void setWifedsConnected(const QString& value);
    PairList pairList() const;
    int pairState() const;
    ScanResults scanResults() const;
    int scanState() const;
    bool state() const;
    void setState(bool value);
    int status() const;

Q_SIGNALS:
    void confirmationCodeChanged(const QDBusVariant& confirmationCode);
    void connectionEstablished(const QDBusVariant& addr);
    void mtConnectionEstablished(const QDBusVariant& addr);
    void deviceDisconnected(const QDBusVariant& addr);
    void headsetConnected(const QDBusVariant& headset);
    void myAddressChanged(const QDBusVariant& myAddress);
    void myNameChanged(const QDBusVariant& myName);
    void pairListChanged(const QDBusVariant& pairList);
    void pendingPairChanged(const QDBusVariant& pendingPair);
    void pairStateChanged(const QDBusVariant& pairState);
    void scanResultsChanged(const QDBusVariant& in0);
    void scanStateChanged(const QDBusVariant& scanState);
    void stateChanged(const QDBusVariant& state);
    void statusChanged(const QDBusVariant& status);
    void wifedCmdCtlSockAvailable(const QDBusVariant& adress);
    void wifedCmdCtlSockClosed(const QDBusVariant& adress);

public Q_SLOTS:
    QDBusPendingReply<> CancelScan();
    QDBusPendingReply<> ConfirmCode();
    QDBusPendingReply<> ConnectAddr(qulonglong in0);
    QDBusPendingReply<> DisconnectAddr(qulonglong in0);
    QDBusPendingReply<> PINdecline();
    QDBusPendingReply<> PINreply(const QString& in0);
    QDBusPendingReply<> Pair(qulonglong in0);
    QDBusPendingReply<> RejectCode();
    QDBusPendingReply<> Scan();
    QDBusPendingReply<> UnPair(qulonglong in0);
    QDBusPendingReply<> killIAP();
    QDBusPendingReply<> registerRFCOMMUUID(const QString& str);
    QDBusPendingReply<> unregisterRFCOMMUUID(const QString& str);
    QDBusPendingReply<> sendWifedCmdCtlFD(const QString& str);
};

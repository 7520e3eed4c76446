#pragma once

#include "DaemonTypes.h"
#include "RadioTypes.h"
#include "Result.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>

namespace bt {

class Radio;

/// The daemon's D-Bus side, the same for every radio: the object at /com/qarn/Bluetooth and the name
/// com.qarn.bluetooth. It keeps what the radio told as properties and sends a change signal when a value
/// differs. Methods, properties and signals have the names of the interface, dbus/com.qarn.bluetooth.xml
/// explains them.
///
/// A refused command is answered with an error com.qarn.bluetooth.Error.… and told by notice(): clients that
/// do not wait for replies leave no other trace.
class DaemonService : public QObject, protected QDBusContext
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
    /// \a radio has to outlive the service.
    explicit DaemonService(Radio& radio, QObject* parent = nullptr);

    /// Starts the radio, puts the object on the bus and takes the name last, so that whoever sees the name
    /// finds everything in place.
    /// @return what went wrong, for a person; empty when the daemon is there.
    [[nodiscard]] QString publish(const QDBusConnection& bus);
    /// Stops the radio and leaves the bus.
    void withdraw();

    QString confirmationCode() const { return m_pairing.code; }
    qulonglong myAddress() const { return m_address; }
    QString myName() const { return m_name; }
    QString wifedsConnected() const { return m_wifeds; }
    PairList pairList() const { return m_pairList; }
    int pairState() const { return static_cast<int>(m_pairing.state); }
    ScanResults scanResults() const { return m_scanResults; }
    int scanState() const { return static_cast<int>(m_scanState); }
    bool state() const { return m_status == Status::On; }
    int status() const { return static_cast<int>(m_status); }

    /// The address is the radio's own; writing it changes nothing.
    void setMyAddress(qulonglong address);
    void setMyName(const QString& name);
    void setWifedsConnected(const QString& addresses) { m_wifeds = addresses; }
    /// Asks the radio to switch on or off; the state follows when it has.
    void setState(bool on);

public Q_SLOTS:
    void CancelScan();
    void ConfirmCode();
    void ConnectAddr(qulonglong in0);
    void DisconnectAddr(qulonglong in0);
    void PINdecline();
    void PINreply(const QString& in0);
    void Pair(qulonglong in0);
    void RejectCode();
    void Scan();
    void UnPair(qulonglong in0);
    void killIAP();
    void registerRFCOMMUUID(const QString& str);
    void unregisterRFCOMMUUID(const QString& str);
    void sendWifedCmdCtlFD(const QString& str);

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

    /// Not on the bus: the bus itself has ended.
    void busLost();

private:
    void followRadio();
    void takeStatus(Status status);
    void takePairing(const PairingProgress& progress);
    void openWifed(qulonglong address);
    void closeWifed(qulonglong address);
    /// @param property the one that was to be written; empty when a method was called.
    void answer(const base::Result<>& done, const QString& property = {});

    Radio& m_radio;
    QDBusConnection m_bus;

    qulonglong m_address = 0;
    QString m_name;
    Status m_status = Status::NoDevice;
    ScanState m_scanState = ScanState::NeverScanned;
    ScanResults m_scanResults;
    PairingProgress m_pairing;
    PairList m_pairList;
    QString m_wifeds;
};

} // namespace bt

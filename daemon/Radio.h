#pragma once

#include "DaemonTypes.h"
#include "RadioTypes.h"

#include <QObject>

namespace bt {

/// What decides behind the daemon's D-Bus side. Commands come in and are taken or refused at once; everything
/// that follows goes out as a signal, in the order in which clients shall see it. The D-Bus side keeps what
/// it was told and passes on what differs, so a radio may repeat itself.
class Radio : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Tells address, name and status, and switches on.
    virtual void start() = 0;
    /// Ends everything and is off when it returns.
    virtual void stop() = 0;

    virtual Outcome setPowered(bool on) = 0;
    virtual Outcome setLocalName(const QString& name) = 0;

    virtual Outcome scan() = 0;
    virtual Outcome cancelScan() = 0;

    virtual Outcome pair(qulonglong address) = 0;
    virtual Outcome unpair(qulonglong address) = 0;
    virtual Outcome pinReply(const QString& pin) = 0;
    virtual Outcome pinDecline() = 0;
    virtual Outcome confirmCode() = 0;
    virtual Outcome rejectCode() = 0;

    virtual Outcome connectDevice(qulonglong address) = 0;
    virtual Outcome disconnectDevice(qulonglong address) = 0;
    /// Ends the connections of iOS accessories.
    virtual Outcome killIap() = 0;

    virtual Outcome registerRfcommUuid(const QString& uuid) = 0;
    virtual Outcome unregisterRfcommUuid(const QString& uuid) = 0;
    virtual Outcome sendWifedSocket(const QString& text) = 0;

Q_SIGNALS:
    void addressChanged(qulonglong address);
    void localNameChanged(const QString& name);
    void statusChanged(bt::Status status);

    void scanStateChanged(bt::ScanState state);
    void scanResultsChanged(const ScanResults& results);

    void pairingChanged(const bt::PairingProgress& progress);
    void pairListChanged(const PairList& list);

    void connectionEstablished(qulonglong address);
    void headsetConnected(qulonglong address);
    /// The companion application of a mobile device has connected.
    void companionConnected(qulonglong address);
    void deviceDisconnected(qulonglong address);
    void wifedSocketOpened(qulonglong address);
    void wifedSocketClosed(qulonglong address);
};

} // namespace bt

#pragma once

#include "DaemonTypes.h"
#include "RadioTypes.h"
#include "Result.h"

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

    virtual base::Result<> setPowered(bool on) = 0;
    virtual base::Result<> setLocalName(const QString& name) = 0;

    virtual base::Result<> scan() = 0;
    virtual base::Result<> cancelScan() = 0;

    virtual base::Result<> pair(qulonglong address) = 0;
    virtual base::Result<> unpair(qulonglong address) = 0;
    virtual base::Result<> pinReply(const QString& pin) = 0;
    virtual base::Result<> pinDecline() = 0;
    virtual base::Result<> confirmCode() = 0;
    virtual base::Result<> rejectCode() = 0;

    virtual base::Result<> connectDevice(qulonglong address) = 0;
    virtual base::Result<> disconnectDevice(qulonglong address) = 0;
    /// Ends the connections of iOS accessories.
    virtual base::Result<> killIap() = 0;

    virtual base::Result<> registerRfcommUuid(const QString& uuid) = 0;
    virtual base::Result<> unregisterRfcommUuid(const QString& uuid) = 0;
    virtual base::Result<> sendWifedSocket(const QString& text) = 0;

Q_SIGNALS:
    void addressChanged(qulonglong address);
    void localNameChanged(const QString& name);
    void statusChanged(bt::Status status);

    void scanStateChanged(bt::ScanState state);
    void scanResultsChanged(const ScanResults& results);

    void pairingChanged(const bt::PairingProgress& progress);
    void pairListChanged(const PairList& list);
    /// Why something came to nothing that a client was told would be done, for a person: one line.
    void failed(const QString& what);

    void connectionEstablished(qulonglong address);
    void headsetConnected(qulonglong address);
    /// The companion application of a mobile device has connected.
    void companionConnected(qulonglong address);
    void deviceDisconnected(qulonglong address);
    void wifedSocketOpened(qulonglong address);
    void wifedSocketClosed(qulonglong address);
};

} // namespace bt

#pragma once

#include "DaemonTypes.h"

#include <BluezQt/Adapter>
#include <BluezQt/Device>

#include <QHash>
#include <QObject>

namespace bt {

/// The devices that the adapter is paired with, in the order of their addresses at first and of their pairing
/// from then on, and the links to them. Deleting the object says nothing; clear() does.
class BondedDevices : public QObject
{
    Q_OBJECT

public:
    void follow(const BluezQt::AdapterPtr& adapter);
    /// The adapter is gone.
    void clear();

    /// Null when it is not paired. A device may be named by an address that it had before: a private one
    /// becomes its own once keys tell whose it is.
    [[nodiscard]] BluezQt::DevicePtr find(qulonglong address) const;
    /// The device that had this address before, paired or not; null when none had.
    [[nodiscard]] BluezQt::DevicePtr formerly(qulonglong address) const { return m_formerly.value(address); }
    [[nodiscard]] QList<BluezQt::DevicePtr> connected(unsigned bits) const;

Q_SIGNALS:
    void listChanged(const PairList& list);
    void connectionEstablished(qulonglong address);
    void headsetConnected(qulonglong address);
    void deviceDisconnected(qulonglong address);

private:
    void watch(const BluezQt::DevicePtr& device);
    void refresh(const BluezQt::DevicePtr& device);
    void forget(int row);
    void announce(qulonglong address, unsigned before, unsigned now);

    BluezQt::AdapterPtr m_adapter;
    PairList m_list;
    QList<BluezQt::DevicePtr> m_devices; ///< of the same rows
    QHash<qulonglong, BluezQt::DevicePtr> m_formerly; ///< by addresses that they had
};

} // namespace bt

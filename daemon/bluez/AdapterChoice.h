#pragma once

#include "BluezBus.h"

#include <BluezQt/Adapter>
#include <BluezQt/Device>
#include <BluezQt/Manager>

#include <QObject>
#include <QTimer>

#include <memory>

namespace bt {

/// The adapter that is ours, of the bluetoothd on BluezBus: the one that is wanted,
/// otherwise the lowest when bluetoothd has told of all of them. From then on it is that one alone, by its
/// address, also when it goes and comes back. Tells a person which it is, or why there is none, once for each
/// reason.
class AdapterChoice : public QObject
{
    Q_OBJECT

public:
    /// \a wanted is an address or the last part of a path, "hci1"; empty for any.
    explicit AdapterChoice(QString wanted);

    void follow() { m_bus.join(); }
    /// Chooses no other one any more.
    void stop() { m_stopped = true; }

    [[nodiscard]] bool bluezRuns() const { return m_manager && m_manager->isOperational(); }
    [[nodiscard]] bool isBlocked() const { return m_manager && m_manager->isBluetoothBlocked(); }
    /// Null when it is not known, or another adapter's.
    [[nodiscard]] BluezQt::DevicePtr device(const QString& path) const;

    /// Says which adapter is ours.
    void sayWhich();
    /// Says it, unless it was the last thing to be said.
    void say(const QString& text);
    [[nodiscard]] const QString& lastSaid() const { return m_said; }

Q_SIGNALS:
    /// bluetoothd is there; it knows nothing of us. Goes before the adapter.
    void bluezCame();
    void found(const BluezQt::AdapterPtr& adapter);
    void lost();
    /// By rfkill.
    void blockedChanged(bool blocked);

private:
    void followBluez();
    void askForAdapters();
    void chooseSoon();
    void choose();
    [[nodiscard]] bool mayBeOurs(const BluezQt::AdapterPtr& adapter) const;
    [[nodiscard]] QString whyNone() const;
    void lose();

    BluezBus m_bus;
    std::unique_ptr<BluezQt::Manager> m_manager;
    BluezQt::AdapterPtr m_adapter;
    QString m_wanted; ///< from the first choice on its address
    QTimer m_settling;
    QString m_said;
    bool m_bluezRuns = false; ///< as it was told
    bool m_stopped = false;
};

} // namespace bt

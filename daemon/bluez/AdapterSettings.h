#pragma once

#include <BluezQt/Adapter>

#include <QDBusPendingCall>
#include <QObject>
#include <QVariantMap>

namespace bt {

/// What this program changes in an adapter, and how it was before.
///
/// What was found is kept in a file of the runtime folder until it is put back, so that the run after one
/// that was killed puts back the first state and not that run's. The names are those of org.bluez.Adapter1.
class AdapterSettings : public QObject
{
    Q_OBJECT

public:
    /// Keeps what was found when the adapter was seen for the first time: bluetoothd stores our changes, so a
    /// second look, after its restart, would find those.
    void remember(const BluezQt::Adapter& adapter);
    /// It was about to be switched on by somebody else when we came.
    void foundOn(const BluezQt::Adapter& adapter);
    /// For as long as we run other devices may ask to pair.
    void allowPairing(const BluezQt::Adapter& adapter);
    /// And find it.
    void allowFinding(const BluezQt::Adapter& adapter);
    void setName(const BluezQt::Adapter& adapter, const QString& name);
    /// Whether a name of ours is on its way.
    [[nodiscard]] bool isNaming() const { return m_namings > 0; }

    /// The calls that put back what was found, where it is still ours; the power is switched last, by
    /// restorePower().
    [[nodiscard]] QList<QDBusPendingCall> restore(const BluezQt::Adapter& adapter) const;
    [[nodiscard]] QList<QDBusPendingCall> restorePower(const BluezQt::Adapter& adapter) const;
    /// All calls went well: nothing is left for a later run.
    static void forget(const BluezQt::Adapter& adapter);

Q_SIGNALS:
    /// bluetoothd has taken our name, or has refused it.
    void named();

private:
    void set(const BluezQt::Adapter& adapter, const QString& property, const QVariant& value);
    void keep(const BluezQt::Adapter& adapter) const;

    QVariantMap m_found;
    QVariantMap m_ours;
    int m_namings = 0;
};

} // namespace bt

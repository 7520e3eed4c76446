#pragma once

#include <BluezQt/Adapter>

#include <QDBusPendingCall>
#include <QHash>

namespace bt {

/// What this program changes in an adapter, and how it was before.
class AdapterSettings
{
public:
    /// Keeps what was found when the adapter was seen for the first time: bluetoothd stores our changes, so a
    /// second look, after its restart, would find those.
    void remember(const BluezQt::Adapter& adapter);
    /// Other devices find us by our name and may ask to pair, for as long as we run.
    static void makeOurs(const BluezQt::Adapter& adapter, const QString& name);
    /// The calls that put back what was found.
    [[nodiscard]] QList<QDBusPendingCall> restore(const BluezQt::Adapter& adapter) const;

private:
    struct Found
    {
        QString alias;
        bool powered = false;
        bool pairable = false;
        bool discoverable = false;
        quint32 discoverableTimeout = 0;
    };

    QHash<QString, Found> m_found; ///< by the adapter's address
};

} // namespace bt

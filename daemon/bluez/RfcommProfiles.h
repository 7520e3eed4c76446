#pragma once

#include "RadioTypes.h"
#include "Result.h"

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QHash>
#include <QObject>
#include <QStringList>

#include <map>
#include <memory>

namespace bt {

/// bluetoothd's org.bluez.Profile1 for one UUID. A connection is kept open, unread, until
/// bluetoothd ends it, the device connects anew or the UUID is unregistered.
class RfcommProfile : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.Profile1")

public:
    explicit RfcommProfile(QString uuid);
    ~RfcommProfile() override;

    void registerAtBluez();
    void unregisterAtBluez();

public Q_SLOTS:
    // The methods of the interface, with bluetoothd's names and arguments.
    void Release();
    void NewConnection(const QDBusObjectPath& device, const QDBusUnixFileDescriptor& channel,
                       const QVariantMap& properties);
    void RequestDisconnection(const QDBusObjectPath& device);

Q_SIGNALS:
    void connected(const QString& devicePath);

private:
    [[nodiscard]] QString path() const;

    QString m_uuid;
    QHash<QString, QDBusUnixFileDescriptor> m_channels; ///< by the device's path
};

/// The RFCOMM services that clients have registered; the companion application connects to one of them.
class RfcommProfiles : public QObject
{
    Q_OBJECT

public:
    base::Result<> add(const QString& uuid, bool bluezRuns);
    base::Result<> remove(const QString& uuid);
    /// bluetoothd is there, and knows none of them.
    void registerAll();
    void unregisterAll();

Q_SIGNALS:
    void connected(const QString& devicePath);

private:
    std::map<QString, std::unique_ptr<RfcommProfile>> m_profiles; ///< by the full UUID
};

} // namespace bt

#pragma once

#include "RadioTypes.h"
#include "Result.h"

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QSocketNotifier>
#include <QStringList>

#include <map>
#include <memory>

namespace bt {

/// A connection that is kept open and not read.
class RfcommChannel : public QObject
{
    Q_OBJECT

public:
    explicit RfcommChannel(const QDBusUnixFileDescriptor& channel);

Q_SIGNALS:
    /// By the other side.
    void closed();

private:
    QDBusUnixFileDescriptor m_channel;
    QDBusUnixFileDescriptor
        m_hangup; ///< an epoll descriptor: unread data would make the channel itself readable
    std::unique_ptr<QSocketNotifier> m_notifier;
};

/// bluetoothd's org.bluez.Profile1 for one UUID. A connection is kept until one of the sides or bluetoothd
/// ends it, the device connects anew or the UUID is unregistered.
class RfcommProfile : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.Profile1")

public:
    explicit RfcommProfile(QString uuid);
    ~RfcommProfile() override;

    void registerAtBluez();
    void unregisterAtBluez();
    /// bluetoothd has not taken it: another program holds the UUID.
    [[nodiscard]] bool isRefused() const { return m_isRefused; }

public Q_SLOTS:
    // The methods of the interface, with bluetoothd's names and arguments.
    void Release();
    void NewConnection(const QDBusObjectPath& device, const QDBusUnixFileDescriptor& channel,
                       const QVariantMap& properties);
    void RequestDisconnection(const QDBusObjectPath& device);

Q_SIGNALS:
    void connected(const QString& devicePath);
    void refused();

private:
    [[nodiscard]] QString path() const;

    QString m_uuid;
    std::map<QString, std::unique_ptr<RfcommChannel>> m_channels; ///< by the device's path
    bool m_isRefused = false;
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

private Q_SLOTS:
    void tryAgain(const QString& name, const QString& before, const QString& now);

private:
    void waitUntilFree();

    std::map<QString, std::unique_ptr<RfcommProfile>> m_profiles; ///< by the full UUID
};

} // namespace bt

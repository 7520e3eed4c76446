#include "RfcommProfiles.h"

#include "BluezBus.h"
#include "BluezCall.h"
#include "DeviceServices.h"
#include "Notice.h"

#include <QDBusConnection>
#include <QDBusError>

#include <sys/epoll.h>

#include <utility>

namespace bt {

namespace {

BluezCall managerCall(const QString& method, const QVariantList& arguments)
{
    return { QStringLiteral("/org/bluez"), QStringLiteral("org.bluez.ProfileManager1"), method, arguments };
}

} // namespace

RfcommChannel::RfcommChannel(const QDBusUnixFileDescriptor& channel)
    : m_channel(channel)
{
    m_hangup.giveFileDescriptor(epoll_create1(EPOLL_CLOEXEC));
    epoll_event end{};
    end.events = EPOLLRDHUP; // and EPOLLHUP and EPOLLERR, as always
    if (epoll_ctl(m_hangup.fileDescriptor(), EPOLL_CTL_ADD, m_channel.fileDescriptor(), &end) == 0) {
        m_notifier = std::make_unique<QSocketNotifier>(m_hangup.fileDescriptor(), QSocketNotifier::Read);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
            m_notifier->setEnabled(false);
            Q_EMIT closed();
        });
    }
}

RfcommProfile::RfcommProfile(QString uuid)
    : m_uuid(std::move(uuid))
{
}

RfcommProfile::~RfcommProfile() = default;

QString RfcommProfile::path() const
{
    return QStringLiteral("/com/qarn/Bluetooth/profile/")
        + QString(m_uuid).replace(QLatin1Char('-'), QLatin1Char('_'));
}

void RfcommProfile::registerAtBluez()
{
    BluezBus::connection().registerObject(path(), this, QDBusConnection::ExportAllSlots);
    // What a paired device connects is its business; the user has agreed to the pairing.
    // Channel 0 is any free one; without it bluetoothd listens only for the services that it knows.
    const QVariantMap options{ { QStringLiteral("Channel"), QVariant::fromValue<quint16>(0) },
                               { QStringLiteral("RequireAuthentication"), true },
                               { QStringLiteral("RequireAuthorization"), false } };
    askBluez(managerCall(QStringLiteral("RegisterProfile"),
                         { QVariant::fromValue(QDBusObjectPath(path())), m_uuid, options }),
             this, [this](const QDBusError& error) {
                 if (error.type() == QDBusError::Disconnected) {
                     return; // the next bus is asked anew
                 }
                 const bool wasRefused = std::exchange(m_isRefused, isBluezError(error, "NotPermitted"));
                 if (m_isRefused) {
                     if (!wasRefused) {
                         notice(QStringLiteral(
                                    "another program holds the UUID %1; it is ours when that one has ended")
                                    .arg(m_uuid));
                     }
                     Q_EMIT refused(); // the bus may be another one
                 } else if (error.isValid() && !m_isRefused) {
                     tellFailure(QStringLiteral("registering the UUID %1").arg(m_uuid), error);
                 }
             });
}

void RfcommProfile::unregisterAtBluez()
{
    sendToBluez(
        managerCall(QStringLiteral("UnregisterProfile"), { QVariant::fromValue(QDBusObjectPath(path())) }));
}

void RfcommProfile::Release()
{
    m_channels.clear();
}

void RfcommProfile::NewConnection(const QDBusObjectPath& device, const QDBusUnixFileDescriptor& channel,
                                  const QVariantMap& /*properties*/)
{
    auto kept = std::make_unique<RfcommChannel>(channel);
    // Later: the channel tells of it by itself.
    connect(
        kept.get(), &RfcommChannel::closed, this, [this, path = device.path()] { m_channels.erase(path); },
        Qt::QueuedConnection);
    m_channels[device.path()] = std::move(kept);
    Q_EMIT connected(device.path());
}

void RfcommProfile::RequestDisconnection(const QDBusObjectPath& device)
{
    m_channels.erase(device.path());
}

base::Result<> RfcommProfiles::add(const QString& uuid, bool bluezRuns)
{
    const QString full = fullUuid(uuid);
    if (full.isEmpty()) {
        return base::error(QStringLiteral("\"%1\" is no UUID; it is written as "
                                          "00001101-0000-1000-8000-00805f9b34fb or, in short, 1101")
                               .arg(uuid),
                           base::Failure::InvalidArgument);
    }
    std::unique_ptr<RfcommProfile>& profile = m_profiles[full];
    if (profile && profile->isRefused()) {
        return base::error(
            QStringLiteral("another program holds the UUID \"%1\"; it is ours when that one has ended")
                .arg(uuid));
    }
    if (profile) {
        return base::error(QStringLiteral("the UUID \"%1\" is registered already").arg(uuid),
                           base::Failure::AlreadyRegistered);
    }
    profile = std::make_unique<RfcommProfile>(full);
    connect(profile.get(), &RfcommProfile::connected, this, &RfcommProfiles::connected);
    connect(profile.get(), &RfcommProfile::refused, this, &RfcommProfiles::waitUntilFree);
    if (bluezRuns) {
        profile->registerAtBluez();
    }
    return {};
}

// bluetoothd does not tell that a UUID is free again, the bus tells when its holder ends.
void RfcommProfiles::waitUntilFree()
{
    BluezBus::connection().connect(QStringLiteral("org.freedesktop.DBus"),
                                   QStringLiteral("/org/freedesktop/DBus"),
                                   QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"),
                                   this, SLOT(tryAgain(QString, QString, QString)));
}

void RfcommProfiles::tryAgain(const QString& name, const QString& /*before*/, const QString& now)
{
    if (!name.startsWith(QLatin1Char(':')) || !now.isEmpty()) {
        return;
    }
    for (const auto& [uuid, profile] : m_profiles) {
        if (profile->isRefused()) {
            profile->registerAtBluez();
        }
    }
}

base::Result<> RfcommProfiles::remove(const QString& uuid)
{
    const auto found = m_profiles.find(fullUuid(uuid));
    if (found == m_profiles.end()) {
        return base::error(QStringLiteral("the UUID \"%1\" is not registered").arg(uuid),
                           base::Failure::NotRegistered);
    }
    found->second->unregisterAtBluez();
    m_profiles.erase(found);
    return {};
}

void RfcommProfiles::registerAll()
{
    for (const auto& [uuid, profile] : m_profiles) {
        profile->registerAtBluez();
    }
}

void RfcommProfiles::unregisterAll()
{
    for (const auto& [uuid, profile] : m_profiles) {
        profile->unregisterAtBluez();
    }
    m_profiles.clear();
}

} // namespace bt

#include "RfcommProfiles.h"

#include "BluezCall.h"
#include "DeviceServices.h"

#include <QDBusConnection>

#include <utility>

namespace bt {

namespace {

BluezCall managerCall(const QString& method, const QVariantList& arguments)
{
    return { QStringLiteral("/org/bluez"), QStringLiteral("org.bluez.ProfileManager1"), method, arguments };
}

} // namespace

RfcommProfile::RfcommProfile(QString uuid)
    : m_uuid(std::move(uuid))
{
    QDBusConnection::systemBus().registerObject(path(), this, QDBusConnection::ExportAllSlots);
}

RfcommProfile::~RfcommProfile() = default;

QString RfcommProfile::path() const
{
    return QStringLiteral("/com/qarn/Bluetooth/profile/")
        + QString(m_uuid).replace(QLatin1Char('-'), QLatin1Char('_'));
}

void RfcommProfile::registerAtBluez()
{
    // What a paired device connects is its business; the user has agreed to the pairing.
    // Channel 0 is any free one; without it bluetoothd listens only for the services that it knows.
    const QVariantMap options{ { QStringLiteral("Channel"), QVariant::fromValue<quint16>(0) },
                               { QStringLiteral("RequireAuthentication"), true },
                               { QStringLiteral("RequireAuthorization"), false } };
    tellBluez(managerCall(QStringLiteral("RegisterProfile"),
                          { QVariant::fromValue(QDBusObjectPath(path())), m_uuid, options }),
              QStringLiteral("registering the UUID %1").arg(m_uuid));
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
    m_channels.insert(device.path(), channel);
    Q_EMIT connected(device.path());
}

void RfcommProfile::RequestDisconnection(const QDBusObjectPath& device)
{
    m_channels.remove(device.path());
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
    if (profile) {
        return base::error(QStringLiteral("the UUID \"%1\" is registered already").arg(uuid),
                           base::Failure::AlreadyRegistered);
    }
    profile = std::make_unique<RfcommProfile>(full);
    connect(profile.get(), &RfcommProfile::connected, this, &RfcommProfiles::connected);
    if (bluezRuns) {
        profile->registerAtBluez();
    }
    return {};
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

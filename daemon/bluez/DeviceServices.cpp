#include "DeviceServices.h"

#include "RadioTypes.h"

#include <BluezQt/Adapter>
#include <BluezQt/Services>

#include <QRegularExpression>

#include <algorithm>

namespace bt {

namespace {

// The accessory's end of the same service; some devices list both.
const QString IapAccessoryUuid = QStringLiteral("00000000-deca-fade-deca-deafdecacaff");

bool offersAny(const QStringList& uuids, std::initializer_list<QString> wanted)
{
    return std::any_of(wanted.begin(), wanted.end(),
                       [&uuids](const QString& uuid) { return uuids.contains(uuid, Qt::CaseInsensitive); });
}

/// A computer may play a headset's part, and is none.
bool canBeHeadset(BluezQt::Device::Type type)
{
    return type != BluezQt::Device::Computer && type != BluezQt::Device::Phone;
}

} // namespace

std::optional<bool> playsThrough(const BluezQt::Device& device)
{
    const bool isShown = offersAny(device.adapter()->uuids(), { BluezQt::Services::AudioSource })
        && offersAny(device.uuids(), { BluezQt::Services::AudioSink });
    return isShown ? std::optional<bool>(!device.mediaTransport().isNull()) : std::nullopt;
}

unsigned connectionBits(const QStringList& uuids, BluezQt::Device::Type type, std::optional<bool> plays)
{
    unsigned bits = NotConnected;
    if (offersAny(uuids, { IapUuid, IapAccessoryUuid })) {
        bits |= Iap;
    }
    if (canBeHeadset(type) && plays.value_or(true)
        && offersAny(
            uuids,
            { BluezQt::Services::Headset, BluezQt::Services::Handsfree, BluezQt::Services::AudioSink })) {
        bits |= Headset;
    }
    if (offersAny(uuids, { BluezQt::Services::ObexFileTransfer })) {
        bits |= Ftp;
    }
    return bits == NotConnected ? static_cast<unsigned>(Plain) : bits;
}

bool isServed(const QString& uuid)
{
    static const QString ofTheRadio =
        QStringLiteral("1101,1105,1106,1108,110a,110b,110c,110d,110e,110f,1112,111e,111f,") + IapUuid
        + QLatin1Char(',') + IapAccessoryUuid;
    static const QStringList served = [] {
        QStringList full;
        for (const QString& each :
             qEnvironmentVariable("BLUEZ_SERVICES", ofTheRadio).split(QLatin1Char(','))) {
            full << fullUuid(each.trimmed());
        }
        return full;
    }();
    const QString wanted = fullUuid(uuid);
    return !wanted.isEmpty() && served.contains(wanted);
}

QString fullUuid(const QString& text)
{
    static const QRegularExpression full(
        QStringLiteral("\\A[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}\\z"));
    static const QRegularExpression brief(QStringLiteral("\\A(?:0x)?([0-9a-f]{4}|[0-9a-f]{8})\\z"));
    QString lower = text.toLower();
    if (full.match(lower).hasMatch()) {
        return lower;
    }
    const QRegularExpressionMatch match = brief.match(lower);
    return match.hasMatch() ? match.captured(1).rightJustified(8, QLatin1Char('0'))
            + QStringLiteral("-0000-1000-8000-00805f9b34fb")
                            : QString();
}

} // namespace bt

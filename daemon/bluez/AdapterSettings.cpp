#include "AdapterSettings.h"

#include "BluezCall.h"
#include "Notice.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace bt {

namespace {

const QString Alias = QStringLiteral("Alias");
const QString Powered = QStringLiteral("Powered");

QVariantMap settingsOf(const BluezQt::Adapter& adapter)
{
    return { { Alias, adapter.name() },
             { QStringLiteral("Pairable"), adapter.isPairable() },
             { QStringLiteral("PairableTimeout"), adapter.pairableTimeout() },
             { QStringLiteral("Discoverable"), adapter.isDiscoverable() },
             { QStringLiteral("DiscoverableTimeout"), adapter.discoverableTimeout() },
             { Powered, adapter.isPowered() } };
}

/// Empty where there is no folder for what lasts as long as the machine runs.
QString fileOf(const BluezQt::Adapter& adapter)
{
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return folder.isEmpty() ? QString()
                            : QStringLiteral("%1/bluezradio-found-%2.json")
                                  .arg(folder, adapter.address().remove(QLatin1Char(':')));
}

/// What a run before this one has found and not put back; empty when there is none.
QVariantMap leftBehind(const BluezQt::Adapter& adapter)
{
    QFile file(fileOf(adapter));
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QVariantMap stored = QJsonDocument::fromJson(file.readAll()).object().toVariantMap();
    QVariantMap found = settingsOf(adapter);
    for (auto setting = found.begin(); setting != found.end(); ++setting) {
        QVariant value = stored.value(setting.key());
        if (!value.convert(static_cast<int>(setting.value().type()))) {
            return {};
        }
        setting.value() = value;
    }
    return found;
}

} // namespace

void AdapterSettings::remember(const BluezQt::Adapter& adapter)
{
    if (!m_found.isEmpty()) {
        return;
    }
    m_found = leftBehind(adapter);
    if (!m_found.isEmpty()) {
        notice(QStringLiteral(
            "a run before this one ended without putting the adapter back; what it had found is "
            "put back when this one ends"));
        return;
    }
    m_found = settingsOf(adapter);
    if (adapter.name() == adapter.systemName()) {
        // An alias that nobody has set follows the machine's name; the empty one means that.
        m_found[Alias] = QString();
    }
    keep(adapter);
}

void AdapterSettings::foundOn(const BluezQt::Adapter& adapter)
{
    m_found[Powered] = true;
    keep(adapter);
}

void AdapterSettings::keep(const BluezQt::Adapter& adapter) const
{
    QSaveFile file(fileOf(adapter));
    if (!file.fileName().isEmpty()
        && (!file.open(QIODevice::WriteOnly)
            || file.write(QJsonDocument(QJsonObject::fromVariantMap(m_found)).toJson()) < 0
            || !file.commit())) {
        notice(QStringLiteral(
                   "what the adapter was like cannot be kept in %1: %2; should this program be killed, it "
                   "is not put back")
                   .arg(file.fileName(), file.errorString()));
    }
}

void AdapterSettings::set(const BluezQt::Adapter& adapter, const QString& property, const QVariant& value)
{
    m_ours[property] = value;
    tellBluez(settingOf(adapter.ubi(), AdapterInterface, property, value),
              QStringLiteral("setting %1 of the adapter").arg(property));
}

void AdapterSettings::allowPairing(const BluezQt::Adapter& adapter)
{
    set(adapter, QStringLiteral("PairableTimeout"), 0U);
    set(adapter, QStringLiteral("Pairable"), true);
}

void AdapterSettings::allowFinding(const BluezQt::Adapter& adapter)
{
    set(adapter, QStringLiteral("DiscoverableTimeout"), 0U);
    set(adapter, QStringLiteral("Discoverable"), true);
}

void AdapterSettings::setName(const BluezQt::Adapter& adapter, const QString& name)
{
    m_ours[Alias] = name;
    ++m_namings;
    askBluez(settingOf(adapter.ubi(), AdapterInterface, Alias, name), this, [this](const QDBusError& error) {
        if (error.isValid()) {
            tellFailure(QStringLiteral("naming the adapter"), error);
        }
        if (--m_namings == 0) {
            Q_EMIT named();
        }
    });
}

QList<QDBusPendingCall> AdapterSettings::restore(const BluezQt::Adapter& adapter) const
{
    const QVariantMap now = settingsOf(adapter);
    QList<QDBusPendingCall> calls;
    for (auto ours = m_ours.cbegin(); ours != m_ours.cend(); ++ours) {
        const QVariant found = m_found.value(ours.key());
        if (now.value(ours.key()) == ours.value()
            && found != ours.value()) { // otherwise another's wish came later
            calls << sendToBluez(settingOf(adapter.ubi(), AdapterInterface, ours.key(), found));
        }
    }
    return calls;
}

QList<QDBusPendingCall> AdapterSettings::restorePower(const BluezQt::Adapter& adapter) const
{
    const bool found = m_found.value(Powered).toBool();
    return adapter.isPowered() == found
        ? QList<QDBusPendingCall>()
        : QList<QDBusPendingCall>{ sendToBluez(settingOf(adapter.ubi(), AdapterInterface, Powered, found)) };
}

void AdapterSettings::forget(const BluezQt::Adapter& adapter)
{
    if (const QString file = fileOf(adapter); !file.isEmpty()) {
        QFile::remove(file);
    }
}

} // namespace bt

#include "AdapterSettings.h"

#include "BluezCall.h"

namespace bt {

namespace {

QDBusPendingCall set(const BluezQt::Adapter& adapter, const QString& property, const QVariant& value)
{
    return sendToBluez(settingOf(adapter.ubi(), AdapterInterface, property, value));
}

} // namespace

void AdapterSettings::remember(const BluezQt::Adapter& adapter)
{
    if (!m_found.contains(adapter.address())) {
        // An alias that nobody has set follows the machine's name; the empty one means that.
        const QString alias = adapter.name() == adapter.systemName() ? QString() : adapter.name();
        m_found.insert(adapter.address(),
                       { alias, adapter.isPowered(), adapter.isPairable(), adapter.isDiscoverable(),
                         adapter.discoverableTimeout() });
    }
}

void AdapterSettings::makeOurs(const BluezQt::Adapter& adapter, const QString& name)
{
    const QList<QPair<QString, QVariant>> settings{ { QStringLiteral("Alias"), name },
                                                    { QStringLiteral("Pairable"), true },
                                                    { QStringLiteral("DiscoverableTimeout"), 0U },
                                                    { QStringLiteral("Discoverable"), true } };
    for (const auto& [property, value] : settings) {
        tellBluez(settingOf(adapter.ubi(), AdapterInterface, property, value),
                  QStringLiteral("setting %1 of the adapter").arg(property));
    }
}

QList<QDBusPendingCall> AdapterSettings::restore(const BluezQt::Adapter& adapter) const
{
    const auto found = m_found.constFind(adapter.address());
    if (found == m_found.constEnd()) {
        return {};
    }
    // The name first and the power last: a radio that is off takes no settings.
    QList<QDBusPendingCall> calls{
        set(adapter, QStringLiteral("Alias"), found->alias),
        set(adapter, QStringLiteral("Pairable"), found->pairable),
        set(adapter, QStringLiteral("Discoverable"), found->discoverable),
        set(adapter, QStringLiteral("DiscoverableTimeout"), found->discoverableTimeout),
    };
    if (adapter.isPowered() != found->powered) {
        calls << set(adapter, QStringLiteral("Powered"), found->powered);
    }
    return calls;
}

} // namespace bt

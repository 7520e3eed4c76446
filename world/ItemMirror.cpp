#include "ItemMirror.h"

#include <algorithm>

namespace world {

namespace {

QString nameOf(const QVariantMap& properties)
{
    const QString id = properties.value(QStringLiteral("id")).toString();
    const QVariant index = properties.value(QStringLiteral("index"));
    return index.isValid() ? QStringLiteral("%1:%2").arg(id).arg(index.toInt()) : id;
}

QString textOf(const QVariantMap& properties)
{
    const QVariant label = properties.value(QStringLiteral("text"));
    return label.isValid() && !label.toString().isEmpty()
        ? label.toString()
        : properties.value(QStringLiteral("value")).toString();
}

QString suffixed(const QString& item, int index)
{
    return QStringLiteral("%1:%2").arg(item).arg(index);
}

} // namespace

ItemMirror::ItemMirror(KELClientInterface& server)
    : m_server(server)
{
    connect(&m_server, &KELClientInterface::changed, this, &ItemMirror::apply);
}

base::Result<> ItemMirror::begin()
{
    const ipc::Outcome<ipc::Snapshot> snapshot = m_server.watch();
    if (!snapshot) {
        return base::error(snapshot.error().message);
    }
    for (const ipc::ItemRecord& record : snapshot->items) {
        add(record);
    }
    return {};
}

void ItemMirror::add(const ipc::ItemRecord& record)
{
    const QString name = nameOf(record.properties);
    m_byAddress.insert(record.address,
                       { name, textOf(record.properties),
                         record.properties.value(QStringLiteral("applicable"), true).toBool() });
    m_addresses.insert(name, record.address);
}

void ItemMirror::apply(const ipc::ItemRecords& records)
{
    for (const ipc::ItemRecord& record : records) {
        const auto entry = m_byAddress.find(record.address);
        if (entry == m_byAddress.end()) {
            continue;
        }
        if (record.properties.contains(QStringLiteral("value"))) {
            const QString before = std::exchange(entry->text, textOf(record.properties));
            note(entry->name, before, entry->text);
        }
        entry->applies = record.properties.value(QStringLiteral("applicable"), entry->applies).toBool();
    }
    Q_EMIT changed();
}

void ItemMirror::note(const QString& name, const QString& before, const QString& now)
{
    if (before == now) {
        return;
    }
    const auto known = std::find_if(m_history.begin(), m_history.end(),
                                    [&name](const ItemHistory& history) { return history.name == name; });
    if (known == m_history.end()) {
        m_history.push_back({ name, { before, now } });
    } else {
        known->values << now;
    }
}

QString ItemMirror::text(const QString& name) const
{
    return m_byAddress.value(m_addresses.value(name)).text;
}

bool ItemMirror::applies(const QString& name) const
{
    return m_byAddress.value(m_addresses.value(name)).applies;
}

int ItemMirror::row(const QString& item, const QString& value) const
{
    for (int index = 0; m_addresses.contains(suffixed(item, index)); ++index) {
        if (text(suffixed(item, index)) == value) {
            return index;
        }
    }
    return -1;
}

} // namespace world

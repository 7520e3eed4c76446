// What a module does with its items: the operations of ServerModule that create, read and write them.

#include "ModuleItems.h"
#include "ServerModule.h"

using ipc::Item;
using ipc::ItemKind;
using ipc::ModuleItems;
using ipc::ValueType;

namespace {

QList<ServerItem*> addItems(ModuleItems& items, const Item::Definition& definition)
{
    QList<ServerItem*> handles;
    for (Item* item : items.add(definition)) {
        handles << &item->handle();
    }
    return handles;
}

/// Items that keep the type of their first value.
QList<ServerItem*> addValue(ModuleItems& items, ItemKind kind, const QString& id, const QString& label,
                            const QVariant& first, const QString& applicability, unsigned instances,
                            const QString& hint = {})
{
    return addItems(items, { kind, id, label, ValueType::of(first), first, applicability, instances, hint });
}

void addAction(ModuleItems& items, const QString& id, const QString& label, ipc::ActionHandler handler)
{
    Item::Definition definition{ ItemKind::Action, id, label };
    definition.handler = std::move(handler);
    items.add(definition);
}

} // namespace

QList<ServerItem*> ServerModule::addConfig(const QString& id, const QString& label,
                                           const QVariant& defaultValue, const QString& applicability,
                                           unsigned instances)
{
    return addValue(*m_items, ItemKind::Config, id, label, defaultValue, applicability, instances);
}

QList<ServerItem*> ServerModule::addStringConfig(const QString& id, const QString& label,
                                                 const QString& defaultText, const QString& applicability,
                                                 unsigned instances, const QString& hint)
{
    return addValue(*m_items, ItemKind::Config, id, label, defaultText, applicability, instances, hint);
}

QList<ServerItem*> ServerModule::addResult(const QString& id, const QString& label,
                                           const QVariant& initialValue, const QString& applicability,
                                           unsigned instances)
{
    return addValue(*m_items, ItemKind::Result, id, label, initialValue, applicability, instances);
}

QList<ServerItem*> ServerModule::addStringResult(const QString& id, const QString& label,
                                                 const QString& initialText, const QString& applicability,
                                                 unsigned instances, const QString& hint)
{
    return addValue(*m_items, ItemKind::Result, id, label, initialText, applicability, instances, hint);
}

QList<ServerItem*> ServerModule::addBoolResult(const QString& id, const QString& label, bool initialValue,
                                               const QString& applicability, unsigned instances,
                                               const QString& hint)
{
    return addValue(*m_items, ItemKind::Result, id, label, initialValue, applicability, instances, hint);
}

QList<ServerItem*> ServerModule::addEnumResult(const QString& id, const QString& label, int initialValue,
                                               const EnumType& type, const QString& applicability,
                                               unsigned instances)
{
    return addItems(*m_items,
                    { ItemKind::Result, id, label, ValueType::enumeration(type.values()), initialValue,
                      applicability, instances });
}

void ServerModule::AddActionNullParam(const QString& id, const QString& label,
                                      const boost::function<void()>& handler)
{
    addAction(*m_items, id, label, handler);
}

void ServerModule::AddActionStringParam(const QString& id, const QString& label,
                                        const boost::function<std::string(const std::string&)>& handler)
{
    addAction(*m_items, id, label, handler);
}

void ServerModule::markConfigAsPrivate(const QString& id)
{
    for (Item* item : m_items->instances(ItemKind::Config, id)) {
        item->makePrivate();
    }
}

void ServerModule::openResultToClients(const QString& id)
{
    for (Item* item : m_items->instances(ItemKind::Result, id)) {
        item->makeWritable();
    }
}

void ServerModule::observeItem(const QString& id)
{
    for (Item* item : m_items->instances(ItemKind::Config, id)) {
        item->observe();
    }
}

bool ServerModule::configExists(const QString& id)
{
    return m_items->find(ItemKind::Config, id) != nullptr;
}

ServerItem* ServerModule::config(const QString& id)
{
    if (Item* item = m_items->findOrWarn(ItemKind::Config, id)) {
        return &item->handle();
    }
    // Something to read from and write to, so that a wrong name in a module is a warning and nothing worse.
    static Item nowhere({}, {}, nullptr);
    return &nowhere.handle();
}

void ServerModule::setConfig(const QString& id, const QVariant& value, bool announce)
{
    if (Item* item = m_items->findOrWarn(ItemKind::Config, id)) {
        item->store(value, announce);
    }
}

void ServerModule::setResult(const QString& id, const QVariant& value, bool announce)
{
    if (Item* item = m_items->findOrWarn(ItemKind::Result, id)) {
        item->store(value, announce);
    }
}

void ServerModule::setActionApplicable(const QString& address, bool applicable)
{
    if (Item* item = m_items->findOrWarn(ItemKind::Action, address)) {
        item->setApplicable(applicable, true);
    }
}

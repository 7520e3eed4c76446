// What a module does with its items: the operations of ServerModule that create, read and write them.

#include "ModuleItems.h"
#include "ServerModule.h"

using ipc::Item;
using ipc::ItemKind;
using ipc::ModuleItems;
using ipc::ValueType;

namespace {

QList<ServerItem*> addValue(ModuleItems& items, const ModuleItems::Definition& definition)
{
    QList<ServerItem*> handles;
    for (const auto& item : items.add(definition)) {
        handles << items.handle(*item);
    }
    return handles;
}

void addAction(ModuleItems& items, const QString& id, const QString& label,
               std::variant<std::monostate, ipc::NullHandler, ipc::TextHandler> handler)
{
    for (const auto& item : items.add({ ItemKind::Action, id, label, ValueType::of({}), {} })) {
        item->handler = handler;
    }
}

} // namespace

QList<ServerItem*> ServerModule::addConfig(const QString& id, const QString& label,
                                           const QVariant& defaultValue, const QString& applicability,
                                           unsigned instances)
{
    return addValue(
        *m_items,
        { ItemKind::Config, id, label, ValueType::of(defaultValue), defaultValue, applicability, instances });
}

QList<ServerItem*> ServerModule::addStringConfig(const QString& id, const QString& label,
                                                 const QString& defaultText, const QString& applicability,
                                                 unsigned instances, const QString& hint)
{
    return addValue(*m_items,
                    { ItemKind::Config, id, label, ValueType::of(defaultText), defaultText, applicability,
                      instances, hint });
}

QList<ServerItem*> ServerModule::addResult(const QString& id, const QString& label,
                                           const QVariant& initialValue, const QString& applicability,
                                           unsigned instances)
{
    return addValue(
        *m_items,
        { ItemKind::Result, id, label, ValueType::of(initialValue), initialValue, applicability, instances });
}

QList<ServerItem*> ServerModule::addStringResult(const QString& id, const QString& label,
                                                 const QString& initialText, const QString& applicability,
                                                 unsigned instances, const QString& hint)
{
    return addValue(*m_items,
                    { ItemKind::Result, id, label, ValueType::of(initialText), initialText, applicability,
                      instances, hint });
}

QList<ServerItem*> ServerModule::addBoolResult(const QString& id, const QString& label, bool initialValue,
                                               const QString& applicability, unsigned instances,
                                               const QString& hint)
{
    return addValue(*m_items,
                    { ItemKind::Result, id, label, ValueType::of(initialValue), initialValue, applicability,
                      instances, hint });
}

QList<ServerItem*> ServerModule::addEnumResult(const QString& id, const QString& label, int initialValue,
                                               const EnumType& type, const QString& applicability,
                                               unsigned instances)
{
    return addValue(*m_items,
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
        item->isPrivate = true;
    }
}

void ServerModule::openResultToClients(const QString& id)
{
    for (Item* item : m_items->instances(ItemKind::Result, id)) {
        item->isWritable = true;
    }
}

void ServerModule::observeItem(const QString& id)
{
    for (Item* item : m_items->instances(ItemKind::Config, id)) {
        item->isObserved = true;
    }
}

bool ServerModule::configExists(const QString& id)
{
    return m_items->find(ItemKind::Config, id) != nullptr;
}

ServerItem* ServerModule::config(const QString& id)
{
    if (const Item* item = m_items->findOrWarn(ItemKind::Config, id)) {
        return m_items->handle(*item);
    }
    // Something to read from and write to, so that a wrong name in a module is a warning and nothing worse.
    static ServerItem nowhere(
        std::make_shared<Item>(ipc::ItemAddress(), QString(), ValueType::of({}), QVariant()));
    return &nowhere;
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

#pragma once

#include "IpcExport.h"
#include "Item.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <array>
#include <functional>
#include <memory>
#include <vector>

namespace ipc {

class Applicability;
class ConfigStore;

/// All items of one module, in the order of their creation, and the list of those that changed.
class IPC_EXPORT ModuleItems
{
public:
    ModuleItems(QString serverName, QString moduleName, std::function<void(const QString&)> onObservedWrite);
    ~ModuleItems();
    ModuleItems(const ModuleItems&) = delete;
    ModuleItems& operator=(const ModuleItems&) = delete;

    [[nodiscard]] const QString& moduleName() const { return m_module; }
    [[nodiscard]] const std::vector<std::unique_ptr<Item>>& all() const { return m_items; }

    /// Creates the item's instances; an id that exists already is a warning and gives no items.
    std::vector<Item*> add(const Item::Definition& definition);

    /// The item of that full address, id, or "id:3" among those of one kind; null when there is none.
    [[nodiscard]] Item* find(ItemKind kind, const QString& name) const;
    /// As find(); says on the warning stream that the name is unknown, once for each name.
    [[nodiscard]] Item* findOrWarn(ItemKind kind, const QString& name) const;
    /// Every instance of an id.
    [[nodiscard]] std::vector<Item*> instances(ItemKind kind, const QString& id) const;

    static QString joinExpressions(const QStringList& expressions);

    /// What is wrong with expressions: said once, when the module is complete.
    void checkExpressions() const;

    /// From here on clients' calls of actions are refused.
    void refuseActions() { m_refusesActions = true; }
    [[nodiscard]] bool refusesActions() const { return m_refusesActions; }

    /// The store of the server that the module is in; null outside of one.
    void setConfigStore(ConfigStore* store) { m_configStore = store; }
    [[nodiscard]] ConfigStore* configStore() const { return m_configStore; }

    // Changes
    void listAsChanged(Item& item);
    void announceWrite(const Item& item) const;
    /// Called when the first item is listed after takeChanged().
    void setChangeListener(std::function<void()> listener) { m_onFirstChange = std::move(listener); }
    /// The items listed since the last call. @param withApplicability also those whose expression may have a
    /// new result; without, these wait for a call that asks for them.
    std::vector<Item*> takeChanged(bool withApplicability);
    /// Grows with everything that differs in what is told of the items.
    [[nodiscard]] quint64 version() const { return m_version; }
    void noteDifference() { ++m_version; }

private:
    void warnOnce(ItemKind kind, const QString& name) const;

    QString m_server;
    QString m_module;
    std::array<QString, 3> m_addressPrefixes;
    std::function<void(const QString&)> m_onObservedWrite;
    std::function<void()> m_onFirstChange;
    std::unique_ptr<Applicability> m_applicability;
    std::vector<std::unique_ptr<Item>> m_items;
    std::array<QHash<QString, Item*>, 3> m_byName;
    mutable QSet<QString> m_unknownNames;
    std::vector<Item*> m_changed;
    ConfigStore* m_configStore = nullptr;
    quint64 m_version = 1;
    bool m_changeAnnounced = false;
    bool m_refusesActions = false;
};

} // namespace ipc

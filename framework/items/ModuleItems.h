#pragma once

#include "IpcExport.h"
#include "Item.h"
#include "ServerItem.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <array>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace ipc {

class Applicability;
class ConfigFile;

/// All items of one module, in the order of their creation, and the list of those that changed.
class IPC_EXPORT ModuleItems
{
public:
    ModuleItems(QString serverName, QString moduleName, std::function<void(const QString&)> onObservedWrite);
    ~ModuleItems();
    ModuleItems(const ModuleItems&) = delete;
    ModuleItems& operator=(const ModuleItems&) = delete;

    [[nodiscard]] const QString& moduleName() const { return m_module; }
    [[nodiscard]] const std::vector<std::shared_ptr<Item>>& all() const { return m_items; }

    /// What all instances of an item have in common.
    struct Definition
    {
        ItemKind kind;
        QString id;
        QString label;
        ValueType type;
        QVariant initialValue;
        QString applicability = {}; ///< one expression, or one for each instance (see joinExpressions())
        unsigned instances = 1;
        QString hint = {};
    };
    /// Creates the item's instances; an id that exists already is a warning and gives no items.
    std::vector<std::shared_ptr<Item>> add(const Definition& definition);

    /// The item of that full address, id, or "id:3" among those of one kind; null when there is none.
    [[nodiscard]] Item* find(ItemKind kind, const QString& name) const;
    /// As find(); says on the warning stream that the name is unknown, once for each name.
    [[nodiscard]] Item* findOrWarn(ItemKind kind, const QString& name) const;
    /// Every instance of an id.
    [[nodiscard]] std::vector<Item*> instances(ItemKind kind, const QString& id) const;
    [[nodiscard]] ServerItem* handle(const Item& item) const;

    static QString joinExpressions(const QStringList& expressions);

    /// Names in expressions that no item has: said once, when the module is complete.
    void checkExpressions() const;

    /// From here on clients' calls of actions are refused.
    void refuseActions() { m_refusesActions = true; }
    [[nodiscard]] bool refusesActions() const { return m_refusesActions; }

    /// While a server stores the configs of all its modules at once: its file, which it writes itself.
    void setSharedConfigFile(ConfigFile* file) { m_sharedConfigFile = file; }
    [[nodiscard]] ConfigFile* sharedConfigFile() const { return m_sharedConfigFile; }

    // Changes
    void listAsChanged(Item& item);
    void announceWrite(const Item& item) const;
    /// Called when the first item is listed after takeChanged().
    void setChangeListener(std::function<void()> listener) { m_onFirstChange = std::move(listener); }
    /// The items listed since the last call. @param withApplicability also those whose expression may have a
    /// new result; without, these wait for a call that asks for them.
    std::vector<Item*> takeChanged(bool withApplicability);

private:
    void warnOnce(ItemKind kind, const QString& name) const;

    QString m_server;
    QString m_module;
    std::array<QString, 3> m_addressPrefixes;
    std::function<void(const QString&)> m_onObservedWrite;
    std::function<void()> m_onFirstChange;
    std::unique_ptr<Applicability> m_applicability;
    std::vector<std::shared_ptr<Item>> m_items;
    std::array<QHash<QString, Item*>, 3> m_byName;
    std::unordered_map<const Item*, std::unique_ptr<ServerItem>> m_handles;
    mutable QSet<QString> m_unknownNames;
    std::vector<Item*> m_changed;
    ConfigFile* m_sharedConfigFile = nullptr;
    bool m_changeAnnounced = false;
    bool m_refusesActions = false;
};

} // namespace ipc

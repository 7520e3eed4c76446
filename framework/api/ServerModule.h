#pragma once

#include "EnumType.h"
#include "IpcExport.h"
#include "ServerItem.h"

#include <boost/function.hpp>

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <string>

class RegistrationModule;

namespace ipc {
class ModuleItems;
}

/// A module of a server: a named set of configs (stored settings), results (read-only values) and actions
/// (commands) that clients reach over the bus.
///
/// Items are created by a short id ("enabled"). Elsewhere they are named by that id, by "id:3" (instance 3
/// of a list item) or by their full address (":config:SERVER:MODULE:enabled:"). An unknown name is a warning,
/// once for each name, and nothing else. The server's name is QCoreApplication::applicationName().
///
/// An applicability expression has JavaScript's grammar and semantics over "res.ID.value",
/// "res.ID.enums.eSYMBOL", "cfg.ID.value" and "cfg.ID.enums.eSYMBOL" of the same module; instance 3 of a
/// list item is "res.ID_3". The empty expression always applies.
///
/// Everything runs on the thread that constructed the module.
class IPC_EXPORT ServerModule : public QObject
{
    Q_OBJECT
public:
    static const QString EMPTYQS;

    ServerModule(const QString& moduleName, QObject* parent);
    ~ServerModule() override;

    // The virtual operations, in the order that modules are compiled against. A module answers those
    // marked with (module) as it likes; the framework calls them at the moments named.

    /// The bus name of this module's server: "tov.base.SERVER".
    virtual QString dbusAddress();
    /// (module) Asked before the bus name is taken; false keeps the module's items off the bus.
    virtual bool publishesItems();
    /// Actions are refused from here on; the first step of a shutdown.
    virtual void haltaction();
    /// Called when the server has taken the module in, before stored values are loaded.
    virtual void addedToRegistrationModule();
    /// (module) Before the stored configs are applied.
    virtual void aboutToLoadConfig();
    /// (module) Before the configs are written to disk.
    virtual void aboutToSaveConfig();
    /// (module) After the configs were written to disk.
    virtual void configSaved();
    /// (module) After the bus name was taken: clients can see the module.
    virtual void busNameTaken();
    /// A client's write: checks type, enumeration, range and regular expression, and stores the value.
    /// @param reason filled when the write is refused: what was wrong and what would be right.
    /// @return whether the value was stored.
    virtual bool validateAndApply(const QString& id, const QVariant& value, QString* reason);
    /// Whether the configs are stored together with those of the server's other modules.
    virtual bool isLastConfigShared();
    /// Applies stored configs from a file of this server, as announced writes.
    /// @return false when the file cannot be read (what was wrong is printed), and outside of a server.
    virtual bool loadConfigurationFile(const QString& path);
    /// Stores the configs. The server calls it for each module that changed, and writes its own file once
    /// after the last of them; any other file is written at once.
    /// @return false when the file cannot be written (what was wrong is printed), and outside of a server.
    virtual bool saveConfigurationFile(const QString& path);
    /// Ends the module's service; the server stores what has changed afterwards.
    virtual void halt();
    /// (module) Asked in a shutdown; after a false answer the server goes on serving for exitTimeout().
    virtual bool readyToHalt();
    /// After the last stored config was applied, before the bus name is taken.
    virtual void slotLastConfigLoaded();
    /// (module) When a client asks for one of the server's items for the first time.
    virtual void firstClientSeen();
    /// The short ids of the configs that are stored.
    virtual QStringList computeSaveConfigIds();
    /// (module) When the set of stored configs was computed.
    virtual void saveConfigIdsComputed();
    /// (module) The last call before the module is destroyed in a shutdown.
    virtual void aboutToExit();

    [[nodiscard]] QString moduleName() const;

    // What a module does with its items. The calls that take "instances" create that many: with 1, the item
    // is named by its id alone; with more, instance i is named "id:i". Those that return items return one
    // for each instance, in order.

    QList<ServerItem*> addConfig(const QString& id, const QString& label, const QVariant& defaultValue,
                                 const QString& applicability, unsigned instances);
    /// @param hint one more text for clients, shown by "describe".
    QList<ServerItem*> addStringConfig(const QString& id, const QString& label, const QString& defaultText,
                                       const QString& applicability, unsigned instances, const QString& hint);
    QList<ServerItem*> addResult(const QString& id, const QString& label, const QVariant& initialValue,
                                 const QString& applicability, unsigned instances);
    QList<ServerItem*> addStringResult(const QString& id, const QString& label, const QString& initialText,
                                       const QString& applicability, unsigned instances, const QString& hint);
    QList<ServerItem*> addBoolResult(const QString& id, const QString& label, bool initialValue,
                                     const QString& applicability, unsigned instances, const QString& hint);
    QList<ServerItem*> addEnumResult(const QString& id, const QString& label, int initialValue,
                                     const EnumType& type, const QString& applicability, unsigned instances);
    /// Packs one expression for each instance into the one text that the calls above take.
    static QString concatForInstances(const QStringList& expressions);

    void AddActionNullParam(const QString& id, const QString& label, const boost::function<void()>& handler);
    void AddActionStringParam(const QString& id, const QString& label,
                              const boost::function<std::string(const std::string&)>& handler);

    /// The stored value is readable by its owner alone.
    void markConfigAsPrivate(const QString& id);
    /// Opens a result to writes by clients, which are otherwise refused.
    void openResultToClients(const QString& id);
    /// From here on every write to the config announces itself with itemChanged().
    void observeItem(const QString& id);

    [[nodiscard]] bool configExists(const QString& id);
    /// The config of that name; for an unknown name a warning and an item that is nowhere published.
    [[nodiscard]] ServerItem* config(const QString& id);

    /// Writes of the module's own: not checked against any limit. @param announce see ServerItem::setValue().
    void setConfig(const QString& id, const QVariant& value, bool announce);
    void setResult(const QString& id, const QVariant& value, bool announce);
    void setActionApplicable(const QString& address, bool applicable);

    /// The items themselves, for the server that publishes them.
    [[nodiscard]] ipc::ModuleItems& items() const;

Q_SIGNALS:
    /// Synchronous: emitted before the write returns, once for every write to an observed item, also of the
    /// value that it had already. @param id the item's full address.
    void itemChanged(const QString& id);

private:
    friend class RegistrationModule;
    std::unique_ptr<ipc::ModuleItems> m_items;
};

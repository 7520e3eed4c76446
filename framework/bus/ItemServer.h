#pragma once

#include "IpcExport.h"
#include "ItemRecord.h"
#include "Outcome.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <vector>

class RegistrationModule;

namespace ipc {

class CallQueue;
class ConfigFile;
class Item;
class Outflow;

/// Publishes the items of this process's modules on the bus as "tov.base.APPLICATION", at /tov/base/Items
/// with the interface tov.base.Items, and keeps their configs in a file of the state folder.
class IPC_EXPORT ItemServer : public QObject
{
    Q_OBJECT
public:
    /// @param connection usually the session bus; without a bus, start() says so.
    /// @param stateFolder where APPLICATION.json is kept; made, for its owner alone, when it is missing.
    ItemServer(QDBusConnection connection, QString stateFolder, QObject* parent = nullptr);
    ~ItemServer() override;

    /// Takes a module in. It has to outlive the server.
    void addModule(RegistrationModule& module);

    /// Loads the stored configs into the modules, then takes the bus name.
    [[nodiscard]] Outcome<Done> start();

    /// Ends the service: no more actions, configs stored (once more those that could not be), bus name given
    /// back.
    void halt();

    [[nodiscard]] QStringList modules() const;

    // The methods of tov.base.Items; a call that is answered now may be refused in them.
    qulonglong List(const QStringList& patterns, ipc::ItemRecords& items);
    qulonglong Watch(const QStringList& patterns, ipc::ItemRecords& items);
    QDBusVariant Get(const QString& item);
    void Set(const QString& item, const QDBusVariant& value);
    QString Trigger(const QString& action, const QString& text);
    QVariantMap Describe(const QString& item);

private:
    struct Found
    {
        RegistrationModule* module = nullptr;
        Item* item = nullptr;
    };

    [[nodiscard]] std::vector<Found> findAll(const QString& name) const;
    /// The one item of that name; when there is none, or several, the request is answered with an error.
    Found findForRequest(const QString& name);
    [[nodiscard]] QString callAction(const Item& action, const QString& text) const;

    [[nodiscard]] ItemRecords named(const QStringList& names) const;
    [[nodiscard]] ItemRecords matching(const QStringList& patterns) const;
    /// Those of all items, made when something is another than the last time.
    [[nodiscard]] const ItemRecords& all();
    void loadConfigs();
    void scheduleFlush();
    /// Stores and tells what changed since the last time; later, when so much was told that it would gather
    /// in the bus.
    void flush();
    void tell();
    void sendChanges(const ItemRecords& records);
    /// Stores the configs of these modules, and of those that could not be stored before, in one step.
    void saveConfigs(const std::vector<RegistrationModule*>& changed);

    QDBusConnection m_connection;
    QString m_stateFolder;
    std::vector<RegistrationModule*> m_modules;
    std::unique_ptr<ConfigFile> m_configs; ///< from start() on
    std::vector<RegistrationModule*> m_unsaved; ///< to be told when their configs are stored
    QDBusServiceWatcher m_watcherLeft; ///< tells when a client that watches leaves the bus
    QSet<QString> m_watchers; ///< unique bus names
    std::unique_ptr<Outflow> m_outflow;
    std::unique_ptr<CallQueue> m_calls;
    QTimer m_later; ///< runs while changes are held back
    ItemRecords m_kept;
    std::vector<quint64> m_keptVersions; ///< of the modules' items in m_kept; 0 for those that publish none
    qulonglong m_serial = 0;
    bool m_flushScheduled = false;
    bool m_isServing = false;
    bool m_hadClient = false;
};

} // namespace ipc

#include "ItemServer.h"

#include "CallQueue.h"
#include "ItemProperties.h"
#include "Names.h"
#include "Outflow.h"
#include "RegistrationModule.h"
#include "RequestLimits.h"
#include "Weight.h"
#include "items/ForkGuard.h"
#include "items/ModuleItems.h"
#include "store/AtomicFile.h"
#include "store/ConfigFile.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDebug>
#include <QDir>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace ipc {

ItemServer::ItemServer(QDBusConnection connection, QString stateFolder, QObject* parent)
    : QObject(parent)
    , m_connection(std::move(connection))
    , m_stateFolder(std::move(stateFolder))
    , m_outflow(std::make_unique<Outflow>(m_connection))
    , m_calls(std::make_unique<CallQueue>(*this, *m_outflow, m_connection))
{
    m_later.setSingleShot(true);
    connect(&m_later, &QTimer::timeout, this, &ItemServer::flush);
    connect(m_outflow.get(), &Outflow::roomMade, this, &ItemServer::flush);
    m_watcherLeft.setConnection(m_connection);
    m_watcherLeft.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_watcherLeft, &QDBusServiceWatcher::serviceUnregistered, this, [this](const QString& client) {
        m_watchers.remove(client);
        m_watcherLeft.removeWatchedService(client);
    });
}

ItemServer::~ItemServer()
{
    for (RegistrationModule* module : m_modules) {
        module->items().setChangeListener({});
        module->items().setConfigStore(nullptr);
    }
}

void ItemServer::addModule(RegistrationModule& module)
{
    m_modules.push_back(&module);
    module.items().setChangeListener([this] { scheduleFlush(); });
    module.addedToRegistrationModule();
    leaveIfForked();
}

QStringList ItemServer::modules() const
{
    QStringList names;
    for (const RegistrationModule* module : m_modules) {
        names << module->moduleName();
    }
    return names;
}

Outcome<Done> ItemServer::start()
{
    const QString name = names::BusNamePrefix + QCoreApplication::applicationName();
    if (!m_connection.isConnected()) {
        return Error{ Error::Kind::NoServer,
                      QStringLiteral("there is no session bus to serve on (%1); DBUS_SESSION_BUS_ADDRESS has "
                                     "to name one")
                          .arg(m_connection.lastError().message()) };
    }
    // Asked before anything is switched on because of a stored config; the name itself comes last.
    const Error taken{ Error::Kind::Refused,
                       QStringLiteral(
                           "%1 is taken: another server of that name runs on this bus; end that one first")
                           .arg(name) };
    if (m_connection.interface()->isServiceRegistered(name)) {
        return taken;
    }
    if (const auto made = makePrivateFolder(m_stateFolder); !made) {
        return Error{ Error::Kind::Failed,
                      QStringLiteral(
                          "the state folder cannot be made; it has to be one that can be written (%1)")
                          .arg(made.error().message) };
    }
    loadConfigs();
    tell(); // what was loaded is where clients begin
    m_isServing = true;
    if (!m_connection.registerObject(names::ObjectPath, m_calls.get())) {
        return Error{ Error::Kind::Refused,
                      QStringLiteral("the object %1 is there already").arg(names::ObjectPath) };
    }
    if (!m_connection.registerService(name)) {
        return taken;
    }
    for (RegistrationModule* module : m_modules) {
        module->busNameTaken();
    }
    return Done();
}

void ItemServer::loadConfigs()
{
    m_configs = std::make_unique<ConfigFile>(
        QDir(m_stateFolder).filePath(QCoreApplication::applicationName() + QStringLiteral(".json")),
        modules());
    removeUnfinished(m_configs->path());
    for (RegistrationModule* module : m_modules) {
        module->items().setConfigStore(m_configs.get());
        module->aboutToLoadConfig();
        module->loadConfigurationFile(m_configs->path());
        leaveIfForked();
        module->slotLastConfigLoaded();
    }
}

void ItemServer::halt()
{
    int patience = 0;
    for (RegistrationModule* module : m_modules) {
        module->halt();
        if (!module->readyToHalt()) {
            patience = std::max(patience, module->exitTimeout());
        }
    }
    if (patience > 0) {
        QEventLoop loop;
        QTimer::singleShot(patience, &loop, &QEventLoop::quit);
        loop.exec();
    }
    tell();
    saveConfigs({});
    if (m_isServing) {
        m_connection.unregisterService(names::BusNamePrefix + QCoreApplication::applicationName());
        m_connection.unregisterObject(names::ObjectPath);
        m_isServing = false;
    }
    for (RegistrationModule* module : m_modules) {
        module->aboutToExit();
    }
}

void ItemServer::scheduleFlush()
{
    if (m_flushScheduled) {
        return;
    }
    m_flushScheduled = true;
    // Posted: everything that this turn of the event loop still brings goes along.
    QMetaObject::invokeMethod(this, &ItemServer::flush, Qt::QueuedConnection);
}

void ItemServer::flush()
{
    leaveIfForked();
    if (m_later.isActive() || !m_outflow->hasRoom()) {
        return; // the timer, or the room, brings it back here
    }
    if (const int delay = m_outflow->delayOfSignals(); delay > 0) {
        m_later.start(delay);
    } else {
        tell();
    }
}

void ItemServer::tell()
{
    m_flushScheduled = false;
    const bool withApplicability = !m_watchers.isEmpty();
    ItemRecords records;
    std::vector<RegistrationModule*> changed;
    for (RegistrationModule* module : m_modules) {
        bool configChanged = false;
        const bool isPublished = module->publishesItems();
        for (Item* item : module->items().takeChanged(withApplicability)) {
            const Item::Changes changes = item->takeChanges(withApplicability);
            configChanged |= item->address().kind == ItemKind::Config && changes.differs;
            if (isPublished && (changes.value || changes.applicable)) {
                records << changedItem(*item, changes);
            }
        }
        if (configChanged && m_isServing) {
            changed.push_back(module);
        }
    }
    if (!changed.empty()) {
        saveConfigs(changed);
    }
    if (m_isServing && !records.isEmpty()) {
        sendChanges(records);
    }
}

void ItemServer::sendChanges(const ItemRecords& records)
{
    ItemRecords together;
    qint64 size = 0;
    const auto send = [this, &together, &size] {
        // Not through the adaptor, which would look up and convert for every signal what is known here.
        QDBusMessage changes =
            QDBusMessage::createSignal(names::ObjectPath, names::Interface, QStringLiteral("Changed"));
        changes << ++m_serial << QVariant::fromValue(std::exchange(together, {}));
        m_outflow->sendSignal(changes, std::exchange(size, 0));
    };
    for (const ItemRecord& record : records) {
        const qint64 more = weight(record);
        if (more > limits::MessageSize) {
            qWarning().noquote() << record.address << "is not told: its value has" << more
                                 << "bytes, more than a bus takes:" << limits::MessageSize;
            continue;
        }
        if (size + more > limits::MessageSize) {
            send();
        }
        together << record;
        size += more;
    }
    if (!together.isEmpty()) {
        send();
    }
}

void ItemServer::saveConfigs(const std::vector<RegistrationModule*>& changed)
{
    for (RegistrationModule* module : changed) {
        module->aboutToSaveConfig();
        const bool gathered = module->saveConfigurationFile(m_configs->path());
        if (gathered && std::find(m_unsaved.begin(), m_unsaved.end(), module) == m_unsaved.end()) {
            m_unsaved.push_back(module);
        }
    }
    if (!m_configs || !m_configs->write()) {
        return;
    }
    for (RegistrationModule* module : std::exchange(m_unsaved, {})) {
        module->configSaved();
    }
}

} // namespace ipc

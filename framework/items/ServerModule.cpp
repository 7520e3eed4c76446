#include "ServerModule.h"

#include "ForkGuard.h"
#include "ModuleItems.h"
#include "store/ConfigFile.h"

#include <QCoreApplication>

using ipc::Item;
using ipc::ItemKind;
using ipc::ModuleItems;

const QString ServerModule::EMPTYQS;

ServerModule::ServerModule(const QString& moduleName, QObject* parent)
    : QObject(parent)
{
    ipc::guardThisProcess();
    m_items = std::make_unique<ModuleItems>(QCoreApplication::applicationName(), moduleName,
                                            [this](const QString& id) { Q_EMIT itemChanged(id); });
}

ServerModule::~ServerModule() = default;

QString ServerModule::dbusAddress()
{
    return QStringLiteral("tov.base.") + QCoreApplication::applicationName();
}

bool ServerModule::publishesItems()
{
    return true;
}

void ServerModule::haltaction()
{
}

void ServerModule::addedToRegistrationModule()
{
    m_items->checkExpressions();
}

void ServerModule::aboutToLoadConfig()
{
}

void ServerModule::aboutToSaveConfig()
{
}

void ServerModule::configSaved()
{
}

void ServerModule::busNameTaken()
{
}

bool ServerModule::validateAndApply(const QString& id, const QVariant& value, QString* reason)
{
    ipc::leaveIfForked();
    Item* item = m_items->find(ItemKind::Config, id);
    if (!item) {
        item = m_items->find(ItemKind::Result, id);
    }
    if (!item) {
        *reason = QStringLiteral("there is no config or result \"%1\"").arg(id);
        return false;
    }
    if (!item->isWritable) {
        *reason = QStringLiteral("it is a result, which its module alone writes");
        return false;
    }
    std::optional<ipc::Refusal> refusal;
    const QVariant accepted = item->type.fromClient(value, item->isPrivate, refusal);
    if (refusal) {
        *reason = refusal->reason;
        return false;
    }
    item->store(accepted, true);
    return true;
}

bool ServerModule::isLastConfigShared()
{
    return true;
}

bool ServerModule::loadConfigurationFile(const QString& path)
{
    return ipc::ConfigFile(path).load(*m_items);
}

bool ServerModule::saveConfigurationFile(const QString& path)
{
    const QStringList ids = computeSaveConfigIds();
    // All modules that changed in one turn are stored together, in one step.
    ipc::ConfigFile* shared = m_items->sharedConfigFile();
    if (shared != nullptr && shared->path() == path) {
        shared->gather(*m_items, ids);
        return true;
    }
    ipc::ConfigFile file(path);
    file.gather(*m_items, ids);
    return file.write();
}

void ServerModule::halt()
{
    haltaction();
}

bool ServerModule::readyToHalt()
{
    return true;
}

void ServerModule::slotLastConfigLoaded()
{
}

void ServerModule::firstClientSeen()
{
}

QStringList ServerModule::computeSaveConfigIds()
{
    QStringList ids;
    for (const auto& item : m_items->all()) {
        if (item->address.kind == ItemKind::Config) {
            ids << item->address.shortName();
        }
    }
    saveConfigIdsComputed();
    return ids;
}

void ServerModule::saveConfigIdsComputed()
{
}

void ServerModule::aboutToExit()
{
}

QString ServerModule::moduleName() const
{
    return m_items->moduleName();
}

ModuleItems& ServerModule::items() const
{
    return *m_items;
}

QString ServerModule::concatForInstances(const QStringList& expressions)
{
    return ModuleItems::joinExpressions(expressions);
}

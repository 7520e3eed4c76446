#include "ServerModule.h"

#include "ConfigStore.h"
#include "ForkGuard.h"
#include "ModuleItems.h"

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
    if (!item->isWritable()) {
        *reason = QStringLiteral("it is a result, which its module alone writes");
        return false;
    }
    const ipc::Outcome<QVariant> accepted = item->type().fromClient(value, item->isPrivate());
    if (!accepted) {
        *reason = accepted.error().message;
        return false;
    }
    item->store(*accepted, true);
    return true;
}

bool ServerModule::isLastConfigShared()
{
    return true;
}

bool ServerModule::loadConfigurationFile(const QString& path)
{
    ipc::ConfigStore* store = m_items->configStore();
    return store != nullptr && store->load(*m_items, path);
}

bool ServerModule::saveConfigurationFile(const QString& path)
{
    const QStringList ids = computeSaveConfigIds();
    ipc::ConfigStore* store = m_items->configStore();
    return store != nullptr && store->save(*m_items, ids, path);
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
        if (item->address().kind == ItemKind::Config) {
            ids << item->address().shortName();
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

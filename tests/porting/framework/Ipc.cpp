// Enough to link against; nothing of it is ever called.
#include "Ipc.h"

const QString ServerModule::EMPTYQS;

QVariant ServerItem::value() const
{
    return {};
}
bool ServerItem::setValue(const QVariant& /*value*/, bool announce)
{
    return announce;
}
void ServerItem::setRange(const QVariant& /*minimum*/, const QVariant& /*maximum*/)
{
}
void ServerItem::setRegularExpression(const QString& /*expression*/)
{
}
void ServerItem::setApplicable(bool /*applicable*/, bool /*announce*/)
{
}

EnumType::EnumType(QString name, QObject* parent)
    : QObject(parent)
{
    setObjectName(name);
}
void EnumType::add(const QString& /*label*/, const QString& /*symbol*/, int /*value*/)
{
}

ServerModule::ServerModule(const QString& moduleName, QObject* parent)
    : QObject(parent)
{
    setObjectName(moduleName);
}
QString ServerModule::dbusAddress()
{
    return {};
}
bool ServerModule::stubA()
{
    return false;
}
void ServerModule::haltaction()
{
}
void ServerModule::addedToRegistrationModule()
{
}
void ServerModule::stubB()
{
}
void ServerModule::stubC()
{
}
void ServerModule::stubD()
{
}
void ServerModule::stubE()
{
}
bool ServerModule::validateAndApply(const QString& /*id*/, const QVariant& /*value*/)
{
    return false;
}
bool ServerModule::isLastConfigShared()
{
    return false;
}
bool ServerModule::loadConfigurationFile(const QString& /*path*/)
{
    return false;
}
bool ServerModule::saveConfigurationFile(const QString& /*path*/)
{
    return false;
}
void ServerModule::halt()
{
}
bool ServerModule::stubF()
{
    return false;
}
void ServerModule::slotLastConfigLoaded()
{
}
void ServerModule::stubG()
{
}
QStringList ServerModule::computeSaveConfigIds()
{
    return {};
}
void ServerModule::stubH()
{
}
void ServerModule::stubI()
{
}

using Items = QList<ServerItem*>;
Items ServerModule::addConfig(const QString&, const QString&, const QVariant&, const QString&, unsigned)
{
    return {};
}
Items ServerModule::addStringConfig(const QString&, const QString&, const QString&, const QString&, unsigned,
                                    const QString&)
{
    return {};
}
Items ServerModule::addResult(const QString&, const QString&, const QVariant&, const QString&, unsigned)
{
    return {};
}
Items ServerModule::addStringResult(const QString&, const QString&, const QString&, const QString&, unsigned,
                                    const QString&)
{
    return {};
}
Items ServerModule::addBoolResult(const QString&, const QString&, bool, const QString&, unsigned,
                                  const QString&)
{
    return {};
}
Items ServerModule::addEnumResult(const QString&, const QString&, int, const EnumType&, const QString&,
                                  unsigned)
{
    return {};
}
QString ServerModule::concatForInstances(const QStringList&)
{
    return {};
}
void ServerModule::AddActionNullParam(const QString&, const QString&, const boost::function<void()>&)
{
}
void ServerModule::AddActionStringParam(const QString&, const QString&,
                                        const boost::function<std::string(const std::string&)>&)
{
}
void ServerModule::markConfigAsPrivate(const QString&)
{
}
void ServerModule::observeItem(const QString&)
{
}
bool ServerModule::configExists(const QString&)
{
    return false;
}
ServerItem* ServerModule::config(const QString&)
{
    return nullptr;
}
bool ServerModule::setConfig(const QString&, const QVariant&, bool)
{
    return false;
}
bool ServerModule::setResult(const QString&, const QVariant&, bool)
{
    return false;
}
void ServerModule::setActionApplicable(const QString&, bool)
{
}

RegistrationModule::RegistrationModule(const QString& moduleName, QObject* parent)
    : ServerModule(moduleName, parent)
{
}
void RegistrationModule::haltaction()
{
}
int RegistrationModule::exitTimeout()
{
    return 0;
}
void RegistrationModule::startQView()
{
}
bool RegistrationModule::stubJ()
{
    return false;
}
void RegistrationModule::timerEvent(QTimerEvent* /*event*/)
{
}

KelAggregate::KelAggregate(std::shared_ptr<const KelAggregateDescriptor> /*descriptor*/)
{
}
QVariant KelAggregate::toVariant() const
{
    return {};
}

KELClientInterface* KELClientInterface::getSessionBusClient(const QString& /*name*/, QObject* /*parent*/)
{
    return nullptr;
}
bool KELClientInterface::store(const QVariant& /*value*/, const QString& /*item*/)
{
    return false;
}

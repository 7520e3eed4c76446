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
bool ServerModule::isOffered()
{
    return false;
}
void ServerModule::haltaction()
{
}
void ServerModule::addedToRegistrationModule()
{
}
void ServerModule::beforeReading()
{
}
void ServerModule::beforeWriting()
{
}
void ServerModule::afterWriting()
{
}
void ServerModule::nameTaken()
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
bool ServerModule::mayEnd()
{
    return false;
}
void ServerModule::slotLastConfigLoaded()
{
}
void ServerModule::clientCame()
{
}
QStringList ServerModule::computeSaveConfigIds()
{
    return {};
}
void ServerModule::idsChosen()
{
}
void ServerModule::ending()
{
}

using Items = QList<ServerItem*>;
Items ServerModule::addConfig(const QString& /*id*/, const QString& /*label*/, const QVariant& /*value*/,
                              const QString& /*applicability*/, unsigned /*instances*/)
{
    return {};
}
Items ServerModule::addStringConfig(const QString& /*id*/, const QString& /*label*/, const QString& /*text*/,
                                    const QString& /*applicability*/, unsigned /*instances*/,
                                    const QString& /*more*/)
{
    return {};
}
Items ServerModule::addResult(const QString& /*id*/, const QString& /*label*/, const QVariant& /*value*/,
                              const QString& /*applicability*/, unsigned /*instances*/)
{
    return {};
}
Items ServerModule::addStringResult(const QString& /*id*/, const QString& /*label*/, const QString& /*text*/,
                                    const QString& /*applicability*/, unsigned /*instances*/,
                                    const QString& /*more*/)
{
    return {};
}
Items ServerModule::addBoolResult(const QString& /*id*/, const QString& /*label*/, bool /*flag*/,
                                  const QString& /*applicability*/, unsigned /*instances*/,
                                  const QString& /*more*/)
{
    return {};
}
Items ServerModule::addEnumResult(const QString& /*id*/, const QString& /*label*/, int /*initial*/,
                                  const EnumType& /*value*/, const QString& /*hint*/, unsigned /*instances*/)
{
    return {};
}
QString ServerModule::concatForInstances(const QStringList& /*value*/)
{
    return {};
}
void ServerModule::AddActionNullParam(const QString& /*id*/, const QString& /*label*/,
                                      const boost::function<void()>& /*value*/)
{
}
void ServerModule::AddActionStringParam(const QString& /*id*/, const QString& /*label*/,
                                        const boost::function<std::string(const std::string&)>& /*value*/)
{
}
void ServerModule::markConfigAsPrivate(const QString& /*id*/)
{
}
void ServerModule::observeItem(const QString& /*id*/)
{
}
bool ServerModule::configExists(const QString& /*id*/)
{
    return false;
}
ServerItem* ServerModule::config(const QString& /*id*/)
{
    return nullptr;
}
bool ServerModule::setConfig(const QString& /*id*/, const QVariant& /*value*/, bool /*flag*/)
{
    return false;
}
bool ServerModule::setResult(const QString& /*id*/, const QVariant& /*value*/, bool /*flag*/)
{
    return false;
}
void ServerModule::setActionApplicable(const QString& /*id*/, bool /*flag*/)
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
bool RegistrationModule::needsNoScreen()
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

#include "MobileSyncModule.h"

MobileSyncModule::MobileSyncModule(QObject* parent)
    : RegistrationModule(QStringLiteral("sync_mobile_reg_module"), parent)
{
    // A record, written by other modules; without a value until the first one arrives.
    const QString id = QStringLiteral("deviceConnStatus");
    addResult(id, tr("Device Connection Status"), QVariant(), EMPTYQS, 1);
    openResultToClients(id);
}

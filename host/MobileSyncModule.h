#pragma once

#include "RegistrationModule.h"

/// The stand-in for the mobile synchronisation module: receives the record of the companion application's
/// connections and shows what arrived.
class MobileSyncModule : public RegistrationModule
{
    Q_OBJECT
public:
    explicit MobileSyncModule(QObject* parent);
};

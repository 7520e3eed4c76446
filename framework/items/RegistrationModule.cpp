#include "RegistrationModule.h"

#include "ModuleItems.h"

RegistrationModule::RegistrationModule(const QString& moduleName, QObject* parent)
    : ServerModule(moduleName, parent)
{
}

RegistrationModule::~RegistrationModule() = default;

void RegistrationModule::haltaction()
{
    items().refuseActions();
}

int RegistrationModule::exitTimeout()
{
    return 2000;
}

void RegistrationModule::startQView()
{
}

bool RegistrationModule::runsHeadless()
{
    return true;
}

void RegistrationModule::timerEvent(QTimerEvent* event)
{
    ServerModule::timerEvent(event);
}

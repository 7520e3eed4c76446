// A module file that was built against more than there is when it is loaded.
#include "ModuleEntry.h"

RegistrationModule* operationOfTomorrow(QObject* parent);

RegistrationModule* createModule(QObject* parent)
{
    return operationOfTomorrow(parent);
}

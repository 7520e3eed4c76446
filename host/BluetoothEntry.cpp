// What the host opens. It stands outside of the module's library, which is the shipped file and exports its
// class alone.
#include "BluetoothModule.h"
#include "ModuleEntry.h"

RegistrationModule* createModule(QObject* parent)
{
    return new BluetoothModule(parent); // the parent owns it
}

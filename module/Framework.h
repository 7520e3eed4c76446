#pragma once

// The one place that knows the service framework's headers and names. A port to another release of the
// framework changes this file and nothing else; docs/porting.md says how.

#include "KelAggregate.h"
#include "RegistrationModule.h"
#include "client/KELClientInterface.h"

// The framework's virtual operations that the module answers, lettered in the order of the virtual table.
// What each letter stands for is the framework's choice; what the module answers is not.
#define HOOK_A publishesItems // between dbusAddress and haltaction
#define HOOK_B aboutToLoadConfig // the first of the four behind addedToRegistrationModule
#define HOOK_C aboutToSaveConfig
#define HOOK_D configSaved
#define HOOK_E busNameTaken
#define HOOK_F readyToHalt // between halt and slotLastConfigLoaded
#define HOOK_G firstClientSeen // between slotLastConfigLoaded and computeSaveConfigIds
#define HOOK_H saveConfigIdsComputed // the first of the two behind computeSaveConfigIds
#define HOOK_I aboutToExit
#define HOOK_J runsHeadless // the last of all, behind startQView

/// Sets an item of another module. Nobody waits for the outcome.
inline void writeItem(KELClientInterface& client, const QString& item, const QVariant& value)
{
    client.setItem(item, value);
}

#pragma once

// The one place that knows the service framework's headers and names. A port to another release of the
// framework changes this file and nothing else; docs/porting.md says how.

#include "KelAggregate.h"
#include "RegistrationModule.h"
#include "client/KELClientInterface.h"

// The ten virtual operations of the framework that the module answers, A to J, in the order of the virtual
// table. Result, name and parameters are the framework's; what the body does is the module's. The class takes
// the list once and ends it; the target check_hooks holds it against the table.
// clang-format off
#define FRAMEWORK_HOOKS                                                                                      \
    /* A, between dbusAddress and haltaction */                                                              \
    bool publishesItems() override { return true; }                                                          \
    /* B, C, D, E, the four behind addedToRegistrationModule */                                              \
    void aboutToLoadConfig() override { }                                                                    \
    void aboutToSaveConfig() override { }                                                                    \
    void configSaved() override { }                                                                          \
    void busNameTaken() override { }                                                                         \
    /* F, between halt and slotLastConfigLoaded */                                                           \
    bool readyToHalt() override { return true; }                                                             \
    /* G, between slotLastConfigLoaded and computeSaveConfigIds */                                           \
    void firstClientSeen() override { }                                                                      \
    /* H, I, the two behind computeSaveConfigIds */                                                          \
    void saveConfigIdsComputed() override { }                                                                \
    void aboutToExit() override { }                                                                          \
    /* J, the last of all, behind startQView */                                                              \
    bool runsHeadless() override { return true; }
// clang-format on

/// Sets an item of another module. Nobody waits for the outcome.
inline void writeItem(KELClientInterface& client, const QString& item, const QVariant& value)
{
    client.setItem(item, value);
}

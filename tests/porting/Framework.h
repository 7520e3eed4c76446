#pragma once

// What module/Framework.h becomes for the release of the framework in framework/.

#include <Ipc.h>

#define HOOK_A isOffered
#define HOOK_B beforeReading
#define HOOK_C beforeWriting
#define HOOK_D afterWriting
#define HOOK_E nameTaken
#define HOOK_F mayEnd
#define HOOK_G clientCame
#define HOOK_H idsChosen
#define HOOK_I ending
#define HOOK_J needsNoScreen

inline void writeItem(KELClientInterface& client, const QString& item, const QVariant& value)
{
    client.store(value, item);
}

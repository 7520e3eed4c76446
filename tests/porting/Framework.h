#pragma once

// What module/Framework.h becomes for the release of the framework in framework/.

#include <Ipc.h>

#define HOOK_A stubA
#define HOOK_B stubB
#define HOOK_C stubC
#define HOOK_D stubD
#define HOOK_E stubE
#define HOOK_F stubF
#define HOOK_G stubG
#define HOOK_H stubH
#define HOOK_I stubI
#define HOOK_J stubJ

inline void writeItem(KELClientInterface& client, const QString& item, const QVariant& value)
{
    client.store(value, item);
}

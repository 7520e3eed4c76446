#pragma once

// What module/Framework.h becomes for the release of the framework in framework/.

#include <Ipc.h>

// clang-format off
#define FRAMEWORK_HOOKS                                                                                      \
    bool isOffered() override { return true; } /* A */                                                       \
    void beforeReading() override { } /* B */                                                                \
    void beforeWriting() override { }                                                                        \
    void afterWriting() override { }                                                                         \
    void nameTaken() override { }                                                                            \
    bool mayEnd() override { return true; } /* F */                                                          \
    void clientCame(int /*clients*/) override { }                                                            \
    void idsChosen() override { }                                                                            \
    void ending() override { }                                                                               \
    bool needsNoScreen() override { return true; }
// clang-format on

inline void writeItem(KELClientInterface& client, const QString& item, const QVariant& value)
{
    client.store(value, item);
}

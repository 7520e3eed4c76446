#pragma once

#include <QtGlobal>

#if defined(IPC_BUILD)
#define IPC_EXPORT Q_DECL_EXPORT
#else
#define IPC_EXPORT Q_DECL_IMPORT
#endif

#pragma once

#include "RegistrationModule.h"

/// What a module file offers to the host, which finds it by this name: it makes the module, a child of
/// @p parent, and is called once on the thread on which the module then lives. Whoever includes this header
/// and defines the function has its linkage and its visibility right.
extern "C" Q_DECL_EXPORT RegistrationModule* createModule(QObject* parent);

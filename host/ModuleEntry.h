#pragma once

class QObject;
class RegistrationModule;

namespace host {

/// What a module file offers to the host: a C function of this name and type, which constructs the module.
using ModuleFactory = RegistrationModule* (*)(QObject* parent);
constexpr const char* ModuleFactoryName = "createModule";

} // namespace host

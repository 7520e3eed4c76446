#pragma once

#include "RegistrationModule.h"

#include <string>

/// A module with one item of every kind, for tests of the framework and its clients.
class DemoModule : public RegistrationModule
{
    Q_OBJECT
public:
    DemoModule(const QString& name, QObject* parent);

private:
    void addConfigs();
    void addResults();
    void addActions();
    std::string writeResult(const std::string& text);
    std::string writeMany(const std::string& text);
    void forkAndReturn();
};

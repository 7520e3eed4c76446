#pragma once

#include "RegistrationModule.h"

#include <QFile>
#include <QStringList>

#include <functional>
#include <stdexcept>

/// Notes what the framework asks of a module, and when.
class RecordingModule : public RegistrationModule
{
public:
    explicit RecordingModule(const QString& name)
        : RegistrationModule(name, nullptr)
    {
        addConfig("level", "Level", 0, EMPTYQS, 1);
        addConfig("rows", "Rows", 0, "res.state.value", 2);
        EnumType states("eState", nullptr);
        states.add("Off", "S_OFF", 0);
        states.add("On", "S_ON", 3);
        addEnumResult("state", "State", 0, states, EMPTYQS, 1);
        AddActionNullParam("fail", "Fail", [] { throw std::runtime_error("no card"); });
        AddActionNullParam("write", "Write", [this] { setResult("state", 3, true); });
        markConfigAsPrivate("rows");
        observeItem("rows");
    }

    bool publishesItems() override { return isPublished; }
    void addedToRegistrationModule() override
    {
        note("added");
        RegistrationModule::addedToRegistrationModule();
    }
    void aboutToLoadConfig() override { note("aboutToLoadConfig"); }
    bool loadConfigurationFile(const QString& path) override
    {
        note("load");
        return RegistrationModule::loadConfigurationFile(path);
    }
    void slotLastConfigLoaded() override { note("slotLastConfigLoaded"); }
    void busNameTaken() override { note("busNameTaken"); }
    void firstClientSeen() override { note("firstClientSeen"); }
    void aboutToSaveConfig() override { note("aboutToSaveConfig"); }
    void saveConfigIdsComputed() override { note("saveConfigIdsComputed"); }
    bool saveConfigurationFile(const QString& path) override
    {
        return RegistrationModule::saveConfigurationFile(path)
            && (exportPath.isEmpty() || RegistrationModule::saveConfigurationFile(exportPath));
    }
    void configSaved() override { note("configSaved"); }
    bool readyToHalt() override
    {
        note(whileHalting());
        return false;
    }
    int exitTimeout() override
    {
        note(QString::number(RegistrationModule::exitTimeout()));
        return patience;
    }
    void aboutToExit() override { note("aboutToExit"); }

    bool isPublished = true;
    int patience = 100; // ms
    QString exportPath;
    std::function<QString()> whileHalting = [] {
        return QString();
    };
    QStringList calls;

private:
    void note(const QString& call) { calls << call; }
};

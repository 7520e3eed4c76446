#pragma once

#include "ServerModule.h"

/// The base of a module that a host constructs and registers with its server.
class IPC_EXPORT RegistrationModule : public ServerModule
{
    Q_OBJECT
public:
    RegistrationModule(const QString& moduleName, QObject* parent);
    ~RegistrationModule() override;

    void haltaction() override;

    /// How long a shutdown waits for a module that is not readyToHalt(), in milliseconds.
    virtual int exitTimeout();
    /// Starts the module's own window, where it has one; this framework has none.
    virtual void startQView();
    /// (module) Whether the module may run without a window.
    virtual bool runsHeadless();

protected:
    void timerEvent(QTimerEvent* event) override;
};

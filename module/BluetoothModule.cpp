#include "BluetoothModule.h"

#include "BluetoothIf.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

BluetoothModule::BluetoothModule(QObject* parent)
    : RegistrationModule(QStringLiteral("bluetooth"), parent)
    , serviceWatcher(new QDBusServiceWatcher(daemonService(), QDBusConnection::systemBus(),
                                             QDBusServiceWatcher::WatchForRegistration
                                                 | QDBusServiceWatcher::WatchForUnregistration))
    , controllerPid(-1)
    , lockOwnerPid(0)
    , lockRequestValue(0)
    , radioSwitchInhibited(false)
    , cyclingRadio(false)
    , bluetoothIf(nullptr)
{
    connect(serviceWatcher, SIGNAL(serviceRegistered(QString)), this, SLOT(onServiceRegistered(QString)));
    connect(serviceWatcher, SIGNAL(serviceUnregistered(QString)), this, SLOT(onServiceUnregistered(QString)));
    registerDaemonTypes();
    createConfigs();
    createResults();
    createActions();
}

BluetoothModule::~BluetoothModule() = default;

void BluetoothModule::slotLastConfigLoaded()
{
}

#include "BluetoothModule.h"

#include "BluetoothIf.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

const QString BluetoothModule::DaemonService = QStringLiteral("com.qarn.bluetooth");
const QString BluetoothModule::EnabledConfig = QStringLiteral(":config:bluetoothlauncher:bluetooth:enabled:");
const QString BluetoothModule::ScanAction = QStringLiteral(":action:bluetoothlauncher:bluetooth:scan:");

BluetoothModule::BluetoothModule(QObject* parent)
    : RegistrationModule(QStringLiteral("bluetooth"), parent)
    // The watcher outlives the module on purpose: it belongs to the process, as the module does.
    , serviceWatcher(new QDBusServiceWatcher(DaemonService, QDBusConnection::systemBus(),
                                             QDBusServiceWatcher::WatchForRegistration
                                                 | QDBusServiceWatcher::WatchForUnregistration))
    , controllerPid(-1)
    , lockOwnerPid(0)
    , lockRequestValue(0)
    , radioSwitchInhibited(false)
    , cyclingRadio(false)
    , bluetoothIf(nullptr)
{
    // By name, here and everywhere: signals of the framework are members of another library, and addresses
    // of members need not be equal across that border.
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
    // Every stored value was announced when it was loaded; nothing is left to do.
}

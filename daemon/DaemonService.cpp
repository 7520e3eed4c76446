#include "DaemonService.h"

#include "AddressHelper.h"
#include "Notice.h"
#include "Radio.h"
#include "bluetoothadaptor.h"

#include <QDBusConnectionInterface>
#include <QMetaEnum>

#include <utility>

namespace bt {

namespace {

const QString& serviceName()
{
    static const QString name = QStringLiteral("com.qarn.bluetooth");
    return name;
}

const QString& objectPath()
{
    static const QString path = QStringLiteral("/com/qarn/Bluetooth");
    return path;
}

template <typename Value>
QDBusVariant payload(const Value& value)
{
    return QDBusVariant(QVariant::fromValue(value));
}

QString errorName(base::Failure kind)
{
    return serviceName() + QLatin1String(".Error.")
        + QLatin1String(QMetaEnum::fromType<base::Failure>().valueToKey(static_cast<int>(kind)));
}

QString ownerOf(const QString& name, QDBusConnectionInterface& bus)
{
    const QDBusReply<uint> pid = bus.servicePid(name);
    return pid.isValid() ? QStringLiteral("process %1").arg(pid.value()) : QStringLiteral("another process");
}

} // namespace

DaemonService::DaemonService(Radio& radio, QObject* parent)
    : QObject(parent)
    , m_radio(radio)
    , m_bus(QString())
{
    registerDaemonTypes();
    new BluetoothAdaptor(this);
    followRadio();
}

void DaemonService::followRadio()
{
    connect(&m_radio, &Radio::addressChanged, this, [this](qulonglong address) {
        if (std::exchange(m_address, address) != address) {
            Q_EMIT myAddressChanged(payload(address));
        }
    });
    connect(&m_radio, &Radio::localNameChanged, this, [this](const QString& name) {
        if (std::exchange(m_name, name) != name) {
            Q_EMIT myNameChanged(payload(name));
        }
    });
    connect(&m_radio, &Radio::statusChanged, this, &DaemonService::takeStatus);
    connect(&m_radio, &Radio::scanStateChanged, this, [this](ScanState state) {
        if (std::exchange(m_scanState, state) != state) {
            Q_EMIT scanStateChanged(payload(scanState()));
        }
    });
    connect(&m_radio, &Radio::scanResultsChanged, this, [this](const ScanResults& results) {
        if (std::exchange(m_scanResults, results) != results) {
            Q_EMIT scanResultsChanged(payload(results));
        }
    });
    connect(&m_radio, &Radio::pairingChanged, this, &DaemonService::takePairing);
    connect(&m_radio, &Radio::pairListChanged, this, [this](const PairList& list) {
        if (std::exchange(m_pairList, list) != list) {
            Q_EMIT pairListChanged(payload(list));
        }
    });
    connect(&m_radio, &Radio::failed, this, &notice);
    connect(&m_radio, &Radio::connectionEstablished, this,
            [this](qulonglong address) { Q_EMIT connectionEstablished(payload(address)); });
    connect(&m_radio, &Radio::headsetConnected, this,
            [this](qulonglong address) { Q_EMIT headsetConnected(payload(address)); });
    connect(&m_radio, &Radio::companionConnected, this,
            [this](qulonglong address) { Q_EMIT mtConnectionEstablished(payload(address)); });
    connect(&m_radio, &Radio::deviceDisconnected, this,
            [this](qulonglong address) { Q_EMIT deviceDisconnected(payload(address)); });
    connect(&m_radio, &Radio::wifedSocketOpened, this, &DaemonService::openWifed);
    connect(&m_radio, &Radio::wifedSocketClosed, this, &DaemonService::closeWifed);
}

void DaemonService::takeStatus(Status status)
{
    const bool wasOn = state();
    if (std::exchange(m_status, status) == status) {
        return;
    }
    Q_EMIT statusChanged(payload(this->status()));
    if (state() != wasOn) {
        Q_EMIT stateChanged(payload(state()));
    }
}

// The state goes last: a client that waits for it finds device and code in place.
void DaemonService::takePairing(const PairingProgress& progress)
{
    const PairingProgress before = std::exchange(m_pairing, progress);
    if (before.device != progress.device) {
        Q_EMIT pendingPairChanged(payload(progress.device));
    }
    if (before.code != progress.code) {
        Q_EMIT confirmationCodeChanged(payload(progress.code));
    }
    if (before.state != progress.state) {
        Q_EMIT pairStateChanged(payload(pairState()));
    }
}

// Clients read the property when they see the signal.
void DaemonService::openWifed(qulonglong address)
{
    const QString text = AddressHelper::int2str(address);
    QStringList open = m_wifeds.split(QLatin1Char(','), Qt::SkipEmptyParts);
    if (!open.contains(text)) {
        open.append(text);
    }
    m_wifeds = open.join(QLatin1Char(','));
    Q_EMIT wifedCmdCtlSockAvailable(payload(text));
}

void DaemonService::closeWifed(qulonglong address)
{
    const QString text = AddressHelper::int2str(address);
    QStringList open = m_wifeds.split(QLatin1Char(','), Qt::SkipEmptyParts);
    open.removeAll(text);
    m_wifeds = open.join(QLatin1Char(','));
    Q_EMIT wifedCmdCtlSockClosed(payload(text));
}

QString DaemonService::publish(const QDBusConnection& bus)
{
    m_bus = bus;
    if (!m_bus.isConnected()) {
        return QStringLiteral("there is no system bus: %1; DBUS_SYSTEM_BUS_ADDRESS names another one")
            .arg(m_bus.lastError().message());
    }
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                  SIGNAL(busLost()));
    m_radio.start();
    if (!m_bus.registerObject(objectPath(), this)) {
        return QStringLiteral("the object %1 exists already").arg(objectPath());
    }
    if (m_bus.registerService(serviceName())) {
        return {};
    }
    const QDBusError denied = m_bus.lastError();
    withdraw();
    if (denied.isValid()) {
        return QStringLiteral("the bus does not give us the name %1: %2")
            .arg(serviceName(), denied.message());
    }
    return QStringLiteral("the name %1 is taken by %2; only one Bluetooth daemon can run")
        .arg(serviceName(), ownerOf(serviceName(), *m_bus.interface()));
}

void DaemonService::withdraw()
{
    m_radio.stop();
    m_bus.unregisterService(serviceName());
    m_bus.unregisterObject(objectPath());
}

void DaemonService::answer(const base::Result<>& done, const QString& property)
{
    if (done) {
        return;
    }
    const QString request = calledFromDBus() ? message().member() : property;
    notice(QStringLiteral("%1 refused: %2").arg(request, done.error().text));
    if (calledFromDBus()) {
        sendErrorReply(errorName(done.error().kind), done.error().text);
    }
}

void DaemonService::setMyAddress(qulonglong address)
{
    if (address != m_address) {
        answer(base::error(
                   QStringLiteral("the radio's own address stays %1").arg(AddressHelper::int2str(m_address)),
                   base::Failure::InvalidArgument),
               QStringLiteral("myAddress"));
    }
}

void DaemonService::setMyName(const QString& name)
{
    answer(m_radio.setLocalName(name), QStringLiteral("myName"));
}

void DaemonService::setState(bool on)
{
    answer(m_radio.setPowered(on), QStringLiteral("state"));
}

void DaemonService::CancelScan()
{
    answer(m_radio.cancelScan());
}

void DaemonService::ConfirmCode()
{
    answer(m_radio.confirmCode());
}

void DaemonService::ConnectAddr(qulonglong in0)
{
    answer(m_radio.connectDevice(in0));
}

void DaemonService::DisconnectAddr(qulonglong in0)
{
    answer(m_radio.disconnectDevice(in0));
}

void DaemonService::PINdecline()
{
    answer(m_radio.pinDecline());
}

void DaemonService::PINreply(const QString& in0)
{
    answer(m_radio.pinReply(in0));
}

void DaemonService::Pair(qulonglong in0)
{
    answer(m_radio.pair(in0));
}

void DaemonService::RejectCode()
{
    answer(m_radio.rejectCode());
}

void DaemonService::Scan()
{
    answer(m_radio.scan());
}

void DaemonService::UnPair(qulonglong in0)
{
    answer(m_radio.unpair(in0));
}

void DaemonService::killIAP()
{
    answer(m_radio.killIap());
}

void DaemonService::registerRFCOMMUUID(const QString& str)
{
    answer(m_radio.registerRfcommUuid(str));
}

void DaemonService::unregisterRFCOMMUUID(const QString& str)
{
    answer(m_radio.unregisterRfcommUuid(str));
}

void DaemonService::sendWifedCmdCtlFD(const QString& str)
{
    answer(m_radio.sendWifedSocket(str));
}

} // namespace bt

#include "BluetoothModule.h"

#include <QDebug>
#include <QVariant>

#include <memory>

namespace {

// The flags by which the descriptor of a record names a value's type.
constexpr auto UnsignedLongLong = static_cast<KELItemStatusFlags>(0x20000);
constexpr auto Bool = static_cast<KELItemStatusFlags>(0x1000);

} // namespace

KelAggregate BluetoothModule::createSyncMobileKelItemConnStatus(bool connected, unsigned long long addr)
{
    const auto descriptor = std::make_shared<KelAggregateDescriptor>();
    (*descriptor)["deviceAddr"] = UnsignedLongLong;
    (*descriptor)["deviceConnected"] = Bool;
    KelAggregate status(descriptor);
    status.setPropertyValue<unsigned long long>("deviceAddr", addr);
    status.setPropertyValue<bool>("deviceConnected", connected);
    return status;
}

void BluetoothModule::reportConnection(bool connected, unsigned long long addr)
{
    // The client belongs to the framework: it is neither kept nor deleted here. None is there while the
    // mobile synchronisation module is not.
    KELClientInterface* const client =
        KELClientInterface::getSessionBusClient(QStringLiteral("tov.base.sync_mobile_app"), nullptr);
    if (client == nullptr) {
        return;
    }
    writeItem(*client, QStringLiteral(":result:sync_mobile_app:sync_mobile_reg_module:deviceConnStatus:"),
              createSyncMobileKelItemConnStatus(connected, addr).toVariant());
}

void BluetoothModule::onMTConnectionEstablished(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (!value.canConvert<qulonglong>()) {
        return;
    }
    const qulonglong addr = value.toULongLong();
    qDebug() << "BluetoothModule::onMTConnectionEstablished";
    qDebug() << "Connected addr:" << addr;
    reportConnection(true, addr);
}

// For any device that disconnects: whether it ran the application is not known here.
void BluetoothModule::onDeviceDisconnected(const QDBusVariant& v)
{
    const QVariant value = v.variant();
    if (!value.canConvert<qulonglong>()) {
        return;
    }
    const qulonglong addr = value.toULongLong();
    qDebug() << "Disconnected addr:" << addr;
    reportConnection(false, addr);
}

#include "BluetoothIf.h"

BluetoothIf::BluetoothIf(const QString& service, const QString& path, const QDBusConnection& connection,
                         QObject* parent)
    : QDBusAbstractInterface(service, path, staticInterfaceName(), connection, parent)
{
}

BluetoothIf::~BluetoothIf() = default;

QString BluetoothIf::confirmationCode() const
{
    return textIn(property("confirmationCode"));
}

qulonglong BluetoothIf::myAddress() const
{
    return qvariant_cast<qulonglong>(property("myAddress"));
}

void BluetoothIf::setMyAddress(qulonglong value)
{
    setProperty("myAddress", QVariant::fromValue(value));
}

QString BluetoothIf::myName() const
{
    return textIn(property("myName"));
}

void BluetoothIf::setMyName(const QString& value)
{
    setProperty("myName", QVariant::fromValue(value));
}

QString BluetoothIf::wifedsConnected() const
{
    return textIn(property("wifedsConnected"));
}

void BluetoothIf::setWifedsConnected(const QString& value)
{
    setProperty("wifedsConnected", QVariant::fromValue(value));
}

PairList BluetoothIf::pairList() const
{
    return qvariant_cast<PairList>(property("pairList"));
}

int BluetoothIf::pairState() const
{
    return qvariant_cast<int>(property("pairState"));
}

ScanResults BluetoothIf::scanResults() const
{
    return qvariant_cast<ScanResults>(property("scanResults"));
}

int BluetoothIf::scanState() const
{
    return qvariant_cast<int>(property("scanState"));
}

bool BluetoothIf::state() const
{
    return qvariant_cast<bool>(property("state"));
}

void BluetoothIf::setState(bool value)
{
    setProperty("state", QVariant::fromValue(value));
}

int BluetoothIf::status() const
{
    return qvariant_cast<int>(property("status"));
}

QDBusPendingReply<> BluetoothIf::CancelScan()
{
    return asyncCallWithArgumentList(QStringLiteral("CancelScan"), {});
}

QDBusPendingReply<> BluetoothIf::ConfirmCode()
{
    return asyncCallWithArgumentList(QStringLiteral("ConfirmCode"), {});
}

QDBusPendingReply<> BluetoothIf::ConnectAddr(qulonglong in0)
{
    return asyncCallWithArgumentList(QStringLiteral("ConnectAddr"), { QVariant::fromValue(in0) });
}

QDBusPendingReply<> BluetoothIf::DisconnectAddr(qulonglong in0)
{
    return asyncCallWithArgumentList(QStringLiteral("DisconnectAddr"), { QVariant::fromValue(in0) });
}

QDBusPendingReply<> BluetoothIf::PINdecline()
{
    return asyncCallWithArgumentList(QStringLiteral("PINdecline"), {});
}

QDBusPendingReply<> BluetoothIf::PINreply(const QString& in0)
{
    return asyncCallWithArgumentList(QStringLiteral("PINreply"), { QVariant::fromValue(in0) });
}

QDBusPendingReply<> BluetoothIf::Pair(qulonglong in0)
{
    return asyncCallWithArgumentList(QStringLiteral("Pair"), { QVariant::fromValue(in0) });
}

QDBusPendingReply<> BluetoothIf::RejectCode()
{
    return asyncCallWithArgumentList(QStringLiteral("RejectCode"), {});
}

QDBusPendingReply<> BluetoothIf::Scan()
{
    return asyncCallWithArgumentList(QStringLiteral("Scan"), {});
}

QDBusPendingReply<> BluetoothIf::UnPair(qulonglong in0)
{
    return asyncCallWithArgumentList(QStringLiteral("UnPair"), { QVariant::fromValue(in0) });
}

QDBusPendingReply<> BluetoothIf::killIAP()
{
    return asyncCallWithArgumentList(QStringLiteral("killIAP"), {});
}

QDBusPendingReply<> BluetoothIf::registerRFCOMMUUID(const QString& str)
{
    return asyncCallWithArgumentList(QStringLiteral("registerRFCOMMUUID"), { QVariant::fromValue(str) });
}

QDBusPendingReply<> BluetoothIf::unregisterRFCOMMUUID(const QString& str)
{
    return asyncCallWithArgumentList(QStringLiteral("unregisterRFCOMMUUID"), { QVariant::fromValue(str) });
}

QDBusPendingReply<> BluetoothIf::sendWifedCmdCtlFD(const QString& str)
{
    return asyncCallWithArgumentList(QStringLiteral("sendWifedCmdCtlFD"), { QVariant::fromValue(str) });
}

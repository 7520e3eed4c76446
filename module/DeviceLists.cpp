#include "BluetoothModule.h"

#include "AddressHelper.h"

#include <QDBusArgument>
#include <QVariant>

/// The result ids of one list; "%1" is the row.
struct BluetoothModule::ListIds
{
    QString address;
    QString name;
    QString detail;
};

namespace {

// What the lists' third column shows in a free row: a text that is a number, never an empty one.
const QString NoDetail = QStringLiteral("0");

template <typename List>
List listIn(const QDBusVariant& v)
{
    // Anything that is no D-Bus list of this shape reads as an empty one.
    List list;
    qvariant_cast<QDBusArgument>(v.variant()) >> list;
    return list;
}

} // namespace

void BluetoothModule::onPairListChanged(const QDBusVariant& v)
{
    const auto list = listIn<PairList>(v);
    updatePairList(&list);
}

void BluetoothModule::onScanResultsChanged(const QDBusVariant& v)
{
    const auto list = listIn<ScanResults>(v);
    updateScanResults(&list);
}

void BluetoothModule::updatePairList(const PairList* list)
{
    static const ListIds Ids{ QStringLiteral("pairlistAddr:%1"), QStringLiteral("pairlistName:%1"),
                              QStringLiteral("pairlistConnectionState:%1") };
    bool connected = false;
    int index = 0;
    if (list != nullptr) {
        for (; index < ListSize && index < list->entries.size(); ++index) {
            const PairEntry& entry = list->entries.at(index);
            publishDevice(Ids, index, entry.address, entry.name, QString::number(entry.connectionState));
            connected = connected || entry.connectionState != 0;
        }
    }
    clearDevices(Ids, index);
    setResult(QStringLiteral("isAnyDeviceConnected"), connected, true);
}

void BluetoothModule::updateScanResults(const ScanResults* list)
{
    static const ListIds Ids{ QStringLiteral("scanresultsAddr:%1"), QStringLiteral("scanresultsName:%1"),
                              QStringLiteral("scanresultsSignalStrength:%1") };
    int index = 0;
    if (list != nullptr) {
        for (; index < ListSize && index < list->entries.size(); ++index) {
            const ScanEntry& entry = list->entries.at(index);
            publishDevice(Ids, index, entry.address, entry.name, QString::number(entry.signalStrength));
        }
    }
    clearDevices(Ids, index);
}

void BluetoothModule::publishDevice(const ListIds& ids, int index, qulonglong address, const QString& name,
                                    const QString& detail)
{
    const QString addressText = AddressHelper::int2str(address);
    setResult(ids.address.arg(index), addressText, true);
    setResult(ids.name.arg(index),
              name.isEmpty() ? QStringLiteral("%1 - %2").arg(tr("Unknown Name"), addressText) : name, true);
    setResult(ids.detail.arg(index), detail, true);
}

void BluetoothModule::clearDevices(const ListIds& ids, int firstIndex)
{
    for (int index = firstIndex; index < ListSize; ++index) {
        setResult(ids.address.arg(index), QString(), true);
        setResult(ids.name.arg(index), QString(), true);
        setResult(ids.detail.arg(index), NoDetail, true);
    }
}

// "myname" and "state" stay as the daemon reported them last, and the scan action as it is.
void BluetoothModule::ClearResults()
{
    setResult(QStringLiteral("status"), 0, true);
    setResult(QStringLiteral("scanstate"), 0, true);
    setResult(QStringLiteral("pairstate"), 0, true);
    setResult(QStringLiteral("confirmationcode"), QString(), true);
    setResult(QStringLiteral("pendingpair"), QString(), true);
    setResult(QStringLiteral("connectedwifeds"), QString(), true);
    updateScanResults(nullptr);
    updatePairList(nullptr);
}

#include "BluetoothModule.h"

#include "AddressHelper.h"

#include <QDBusArgument>
#include <QVariant>

/// The result ids of one list, up to the number of the row.
struct BluetoothModule::ListIds
{
    const char* address;
    const char* name;
    const char* detail;
};

namespace {

QString rowId(const char* list, int index)
{
    return QLatin1String(list) + QString::number(index);
}

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
    static constexpr ListIds Ids{ "pairlistAddr:", "pairlistName:", "pairlistConnectionState:" };
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
    static constexpr ListIds Ids{ "scanresultsAddr:", "scanresultsName:", "scanresultsSignalStrength:" };
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
    setResult(rowId(ids.address, index), addressText, true);
    setResult(rowId(ids.name, index),
              name.isEmpty() ? QStringLiteral("%1 - %2").arg(tr("Unknown Name"), addressText) : name, true);
    setResult(rowId(ids.detail, index), detail, true);
}

void BluetoothModule::clearDevices(const ListIds& ids, int firstIndex)
{
    for (int index = firstIndex; index < ListSize; ++index) {
        setResult(rowId(ids.address, index), QStringLiteral(""), true);
        setResult(rowId(ids.name, index), QStringLiteral(""), true);
        // A text that is a number, never an empty one.
        setResult(rowId(ids.detail, index), QStringLiteral("0"), true);
    }
}

// "myname" and "state" stay as the daemon reported them last, and the scan action as it is.
void BluetoothModule::ClearResults()
{
    setResult(QStringLiteral("status"), 0, true);
    setResult(QStringLiteral("scanstate"), 0, true);
    setResult(QStringLiteral("pairstate"), 0, true);
    setResult(QStringLiteral("confirmationcode"), QStringLiteral(""), true);
    setResult(QStringLiteral("pendingpair"), QStringLiteral(""), true);
    setResult(QStringLiteral("connectedwifeds"), QStringLiteral(""), true);
    updateScanResults(nullptr);
    updatePairList(nullptr);
}

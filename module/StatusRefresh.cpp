#include "BluetoothModule.h"

#include "BluetoothIf.h"

#include <algorithm>

// Every read is a blocking call to the daemon: nine at least, thirteen at most. What cannot be read or
// converted is published as 0, as an empty text or as an empty list.
void BluetoothModule::statUpdate()
{
    if (bluetoothIf == nullptr) {
        return;
    }

    setResult(QStringLiteral("status"), bluetoothIf->status(), true);
    setResult(QStringLiteral("scanstate"), bluetoothIf->scanState(), true);
    setResult(QStringLiteral("pairstate"), bluetoothIf->pairState(), true);
    // Read and written a second time: the sequence is fixed.
    setResult(QStringLiteral("scanstate"), bluetoothIf->scanState(), true);

    // Read anew for each comparison; the first that fits is the last read.
    const bool settled =
        std::any_of(SettledPairStates.begin(), SettledPairStates.end(),
                    [this](int settledState) { return bluetoothIf->pairState() == settledState; });
    setActionApplicable(scanAction(), settled);

    setResult(QStringLiteral("confirmationcode"), bluetoothIf->confirmationCode(), true);
    // The daemon's own is not read: a refresh always clears it.
    setResult(QStringLiteral("pendingpair"), QStringLiteral(""), true);
    setConfig(QStringLiteral("myname"), bluetoothIf->myName(), true);

    const ScanResults scanResults = bluetoothIf->scanResults();
    updateScanResults(&scanResults);
    const PairList pairList = bluetoothIf->pairList();
    updatePairList(&pairList);
}

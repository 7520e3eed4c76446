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
    // Once more: a scan that ended during the reads above is not shown as running.
    setResult(QStringLiteral("scanstate"), bluetoothIf->scanState(), true);

    // The state is read anew for each comparison, so that one which settles meanwhile still counts.
    const bool settled =
        std::any_of(SettledPairStates.begin(), SettledPairStates.end(),
                    [this](int settledState) { return bluetoothIf->pairState() == settledState; });
    setActionApplicable(ScanAction, settled);

    setResult(QStringLiteral("confirmationcode"), bluetoothIf->confirmationCode(), true);
    // A refresh ends what was pending; the daemon announces the next one.
    setResult(QStringLiteral("pendingpair"), QString(), true);
    setConfig(QStringLiteral("myname"), bluetoothIf->myName(), true);

    const ScanResults scanResults = bluetoothIf->scanResults();
    updateScanResults(&scanResults);
    const PairList pairList = bluetoothIf->pairList();
    updatePairList(&pairList);
}

#include "BluetoothModule.h"

#include <array>

namespace {

struct TextItem
{
    const char* id;
    const char* label;
};

constexpr std::array<TextItem, 3> ScanTexts{ {
    { "scanresultsAddr", QT_TRANSLATE_NOOP("BluetoothModule", "Address") },
    { "scanresultsName", QT_TRANSLATE_NOOP("BluetoothModule", "Name") },
    { "scanresultsSignalStrength", QT_TRANSLATE_NOOP("BluetoothModule", "Signal Strength") },
} };
constexpr std::array<TextItem, 2> PairedTexts{ {
    { "pairlistAddr", QT_TRANSLATE_NOOP("BluetoothModule", "Address") },
    { "pairlistName", QT_TRANSLATE_NOOP("BluetoothModule", "Name") },
} };

struct Symbol
{
    const char* label;
    const char* name;
    int value;
};

// Bits, so that there is no 3.
constexpr std::array<Symbol, 5> ConnectionStates{ {
    { QT_TRANSLATE_NOOP("BluetoothModule", "Not Connected"), "BLUETOOTH_CONNECTION_NOT_CONNECTED", 0 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Connected"), "BLUETOOTH_CONNECTION_CONNECTED", 1 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "iOS Connected"), "BLUETOOTH_CONNECTION_IAP_CONNECTED", 2 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Headset Connected"), "BLUETOOTH_CONNECTION_HEADSET_CONNECTED",
      4 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "FTP Connected"), "BLUETOOTH_CONNECTION_FTP_CONNECTED", 8 },
} };
constexpr std::array<Symbol, 5> RadioStates{ {
    { QT_TRANSLATE_NOOP("BluetoothModule", "No Device"), "BLUETOOTHSTATUS_NODEVICE", 0 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Off"), "BLUETOOTHSTATUS_OFF", 1 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Starting"), "BLUETOOTHSTATUS_STARTING", 2 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "On"), "BLUETOOTHSTATUS_ON", 3 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Stopping"), "BLUETOOTHSTATUS_STOPPING", 4 },
} };
// The prefix is that of the radio's status, and stays so.
constexpr std::array<Symbol, 3> ScanStates{ {
    { QT_TRANSLATE_NOOP("BluetoothModule", "Never Scanned"), "BLUETOOTHSTATUS_NEVERSCANNED", 0 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Scanning"), "BLUETOOTHSTATUS_SCANNING", 1 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Scan Complete"), "BLUETOOTHSTATUS_SCANDONE", 2 },
} };
// Under way below 100, done at 100, failed from 200.
constexpr std::array<Symbol, 11> PairStates{ {
    { QT_TRANSLATE_NOOP("BluetoothModule", "Idle"), "BLUETOOTHPAIR_NOT_PAIRING", 0 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Pairing"), "BLUETOOTHPAIR_OUTGOING", 1 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Incoming"), "BLUETOOTHPAIR_INCOMING", 2 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "PIN Needed"), "BLUETOOTHPAIR_PINNEEDED", 3 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Need Confirmation"), "BLUETOOTHPAIR_NEEDCONFIRMATION", 4 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Need Verification"), "BLUETOOTHPAIR_NEEDSIMPLECONFIRMATION", 5 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Finishing"), "BLUETOOTHPAIR_FINISHING", 6 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Paired"), "BLUETOOTHPAIR_PAIROKAY", 100 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Failed"), "BLUETOOTHPAIR_FAILED", 200 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Failed Authentication"), "BLUETOOTHPAIR_FAILED_AUTH", 201 },
    { QT_TRANSLATE_NOOP("BluetoothModule", "Failed Connecting"), "BLUETOOTHPAIR_FAILED_CONN", 202 },
} };

template <std::size_t Size>
void fill(EnumType& type, const std::array<Symbol, Size>& symbols)
{
    for (const Symbol& symbol : symbols) {
        type.add(BluetoothModule::tr(symbol.label), QLatin1String(symbol.name), symbol.value);
    }
}

// A row applies while the radio is usable and the row holds an address; an emptied row disappears by that.
constexpr const char* ScanRow =
    "((res.status.value == res.status.enums.eBLUETOOTHSTATUS_ON) && (cfg.enabled.value)"
    " && (res.scanresultsAddr_%1.value != \"\") && (res.scanresultsAddr_%1.value != \"0\")"
    " && (res.scanresultsAddr_%1.value != 0))";
constexpr const char* PairedRow =
    "((res.status.value == res.status.enums.eBLUETOOTHSTATUS_ON) && (cfg.enabled.value)"
    " && (res.pairlistAddr_%1.value != \"\") && (res.pairlistAddr_%1.value != \"0\")"
    " && (res.pairlistAddr_%1.value != 0))";
constexpr const char* RadioUsable =
    "((res.status.value == res.status.enums.eBLUETOOTHSTATUS_ON) && (cfg.enabled.value))";
constexpr const char* AndPairing =
    "&& ((res.pairstate.value == res.pairstate.enums.eBLUETOOTHPAIR_OUTGOING)"
    " || (res.pairstate.value == res.pairstate.enums.eBLUETOOTHPAIR_INCOMING)"
    " || (res.pairstate.value == res.pairstate.enums.eBLUETOOTHPAIR_PINNEEDED)"
    " || (res.pairstate.value == res.pairstate.enums.eBLUETOOTHPAIR_NEEDCONFIRMATION)"
    " || (res.pairstate.value == res.pairstate.enums.eBLUETOOTHPAIR_FINISHING)"
    " || (res.pairstate.value == res.pairstate.enums.eBLUETOOTHPAIR_NEEDSIMPLECONFIRMATION))";

QStringList forEachRow(const char* expression, int rows)
{
    const QString pattern = QLatin1String(expression);
    QStringList expressions;
    for (int row = 0; row < rows; ++row) {
        expressions.append(pattern.arg(row));
    }
    return expressions;
}

} // namespace

void BluetoothModule::createResults()
{
    const QStringList scanRows = forEachRow(ScanRow, ListSize);
    for (const TextItem& item : ScanTexts) {
        addStringResult(QLatin1String(item.id), tr(item.label), QStringLiteral(""),
                        concatForInstances(scanRows), ListSize, EMPTYQS);
    }

    const QStringList pairedRows = forEachRow(PairedRow, ListSize);
    for (const TextItem& item : PairedTexts) {
        addStringResult(QLatin1String(item.id), tr(item.label), QStringLiteral(""),
                        concatForInstances(pairedRows), ListSize, EMPTYQS);
    }
    EnumType connectionState(QStringLiteral("eBlueConnectionStatus"), nullptr);
    fill(connectionState, ConnectionStates);
    addEnumResult(QStringLiteral("pairlistConnectionState"), tr("Connection State"), 0, connectionState,
                  concatForInstances(pairedRows), ListSize);

    EnumType status(QStringLiteral("eBlueStatus"), nullptr);
    fill(status, RadioStates);
    addEnumResult(QStringLiteral("status"), tr("Status"), 0, status, EMPTYQS, 1);
    const QString usable = QLatin1String(RadioUsable);
    EnumType scanState(QStringLiteral("eScanState"), nullptr);
    fill(scanState, ScanStates);
    addEnumResult(QStringLiteral("scanstate"), tr("Scan State"), 0, scanState, usable, 1);
    EnumType pairState(QStringLiteral("ePairState"), nullptr);
    fill(pairState, PairStates);
    addEnumResult(QStringLiteral("pairstate"), tr("Pairing State"), 0, pairState, usable, 1);

    addResult(QStringLiteral("confirmationcode"), tr("Confirmation Code"), QStringLiteral(""), usable, 1);
    addResult(QStringLiteral("pendingpair"), tr("Pending Pair"), QStringLiteral(""),
              usable + QLatin1String(AndPairing), 1);
    addStringResult(QStringLiteral("connectedwifeds"), tr("Connected Wi-FEDs"), QStringLiteral(""),
                    QStringLiteral("true"), 1, EMPTYQS);
    addBoolResult(QStringLiteral("isAnyDeviceConnected"), tr("Is any device connected"), false, EMPTYQS, 1,
                  EMPTYQS);
}

#include "DeviceRecord.h"

#include "AddressHelper.h"
#include "SimulatedRadio.h"

#include <algorithm>

namespace bt {

namespace {

/// The word that a scenario file uses.
QString pairingWord(const SimulatedDevice& device)
{
    using Device = SimulatedDevice;
    switch (device.answer) {
    case Device::Answer::Refuses:
        return QStringLiteral("refuses");
    case Device::Answer::Silent:
        return QStringLiteral("times-out");
    case Device::Answer::OutOfReach:
        return QStringLiteral("out-of-reach");
    case Device::Answer::Accepts:
        break;
    }
    switch (device.pairing) {
    case Device::Pairing::JustWorks:
        return QStringLiteral("just-works");
    case Device::Pairing::Code:
        return QStringLiteral("code");
    case Device::Pairing::SimpleConfirmation:
        return QStringLiteral("confirmation");
    case Device::Pairing::Pin:
        break;
    }
    return device.pin.isEmpty() ? QStringLiteral("wrong-pin") : QStringLiteral("pin");
}

QStringList roleWords(const SimulatedDevice& device)
{
    QStringList words;
    const auto add = [&words](bool is, const char* word) {
        if (is) {
            words << QLatin1String(word);
        }
    };
    add((device.connection & Plain) != 0, "plain");
    add((device.connection & Headset) != 0, "headset");
    add(device.companion, "app");
    add((device.connection & Ftp) != 0, "ftp");
    add((device.connection & Iap) != 0, "ios");
    add(device.wifed, "wifed");
    return words;
}

} // namespace

QVariantMap deviceRecord(const SimulatedDevice& device, const SimulatedRadio& radio,
                         std::chrono::milliseconds now)
{
    const QList<PairEntry>& pairs = radio.pairs().entries;
    const auto pair = std::find_if(pairs.begin(), pairs.end(), [&device](const PairEntry& entry) {
        return entry.address == device.address;
    });
    QVariantMap record{ { QStringLiteral("address"), AddressHelper::int2str(device.address) },
                        { QStringLiteral("name"), device.name },
                        { QStringLiteral("class"), device.deviceClass },
                        { QStringLiteral("rssi"), device.signalStrengthAt(now) },
                        { QStringLiteral("pairing"), pairingWord(device) },
                        { QStringLiteral("is"), roleWords(device) },
                        { QStringLiteral("present"), device.present },
                        { QStringLiteral("paired"), pair != pairs.end() },
                        { QStringLiteral("connection"), pair != pairs.end() ? pair->connectionState : 0U },
                        { QStringLiteral("pairState"),
                          static_cast<int>(radio.pairStateOf(device.address)) } };
    // What a person has to know to pair with it.
    if (record[QStringLiteral("pairing")] == QLatin1String("pin")) {
        record.insert(QStringLiteral("pin"), device.pin);
    } else if (record[QStringLiteral("pairing")] == QLatin1String("code") && !device.code.isEmpty()) {
        record.insert(QStringLiteral("code"), device.code);
    }
    return record;
}

} // namespace bt

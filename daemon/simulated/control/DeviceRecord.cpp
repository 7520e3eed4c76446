#include "DeviceRecord.h"

#include "AddressHelper.h"
#include "DeviceWords.h"
#include "SimulatedRadio.h"

#include <algorithm>

namespace bt {

namespace {

/// The word that a scenario file uses.
QString pairingWord(const SimulatedDevice& device)
{
    using Device = SimulatedDevice;
    for (const PairingWord& word : PairingWords) {
        const bool takesPin = word.pairing == Device::Pairing::Pin && *word.argument != '\0';
        const bool isSame = word.pairing == device.pairing
            && (word.pairing != Device::Pairing::Pin || takesPin != device.pin.isEmpty());
        if (word.answer == device.answer && (isSame || word.answer != Device::Answer::Accepts)) {
            return QLatin1String(word.word);
        }
    }
    return {};
}

QStringList roleWords(const SimulatedDevice& device)
{
    QStringList words;
    for (const RoleWord& role : RoleWords) {
        if ((device.connection & role.connection) != 0 || (role.also != nullptr && device.*role.also)) {
            words << QLatin1String(role.word);
        }
    }
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

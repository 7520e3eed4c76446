#include "DeviceReader.h"

#include "AddressHelper.h"
#include "DeviceWords.h"
#include "ObjectReader.h"
#include "Quantities.h"
#include "Quoted.h"
#include "ScenarioReader.h"
#include "WordTable.h"

#include <QRegularExpression>

namespace bt {

namespace {

constexpr unsigned LargestClass = 0xFFFFFF;

bool matches(const QString& text, const char* pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(QLatin1String(pattern)))
        .match(text)
        .hasMatch();
}

/// What messages call the device: several may stand on one line.
QString titleOf(const JsonValue& value, const QString& called)
{
    if (const auto* members = value.as<JsonValue::Members>()) {
        for (const char* name : { "name", "address" }) {
            for (const auto& [key, member] : *members) {
                const auto* text = member.as<QString>();
                if (key == QLatin1String(name) && text != nullptr && !text->isEmpty()) {
                    return base::quoted(*text);
                }
            }
        }
    }
    return called;
}

void readIdentity(ObjectReader& reader, SimulatedDevice& device)
{
    reader.require("address");
    if (const auto text = reader.text("address")) {
        device.address = addressFrom(*text);
        if (device.address == 0) {
            reader.complain(reader.lineOf("address"),
                            QStringLiteral("\"address\" of %1 is %2 but has to be like "
                                           "\"00:11:22:33:44:55\", not all zero")
                                .arg(reader.what(), base::quoted(*text)));
        }
    }
    device.name = reader.text("name").value_or(QString());
    device.signalStrength = reader.wholeNumber("rssi", WeakestSignal, StrongestSignal).value_or(-60);
    if (const auto text = reader.text("class")) {
        // Decimal also with leading zeros: nobody numbers a class in octal.
        const bool isNumber = matches(*text, "0[xX][0-9A-Fa-f]{1,6}|[0-9]{1,8}");
        const bool isHex = text->contains(QLatin1Char('x'), Qt::CaseInsensitive);
        device.deviceClass = isNumber ? text->toUInt(nullptr, isHex ? 16 : 10) : 0;
        if (!isNumber || device.deviceClass > LargestClass) {
            reader.complain(reader.lineOf("class"),
                            QStringLiteral("\"class\" of %1 is %2 but has to be a number of 24 bits like "
                                           "\"0x5a020c\"")
                                .arg(reader.what(), base::quoted(*text)));
        }
    }
}

void readSecrets(ObjectReader& reader, const QString& pairing, SimulatedDevice& device)
{
    device.pin = reader.text("pin").value_or(QString());
    device.code = reader.text("code").value_or(QString());
    const bool takesPin = pairing == QLatin1String("pin");
    if (takesPin == device.pin.isEmpty() || (!takesPin && reader.member("pin") != nullptr)) {
        reader.complain(reader.lineOf("pin"),
                        QStringLiteral("\"pin\" of %1 goes with \"pairing\": \"pin\", and is not empty")
                            .arg(reader.what()));
    }
    if (reader.member("code") != nullptr
        && (pairing != QLatin1String("code") || !matches(device.code, "[0-9]{6}"))) {
        reader.complain(reader.lineOf("code"),
                        QStringLiteral("\"code\" of %1 goes with \"pairing\": \"code\", and has six digits")
                            .arg(reader.what()));
    }
}

void readPairing(ObjectReader& reader, SimulatedDevice& device)
{
    const QString pairing =
        reader.word("pairing", ScenarioVocabulary::pairing()).value_or(QStringLiteral("just-works"));
    if (const PairingWord* word = rowOf(PairingWords, pairing)) {
        device.pairing = word->pairing;
        device.answer = word->answer;
    }
    readSecrets(reader, pairing, device);
}

void readRoles(ObjectReader& reader, SimulatedDevice& device)
{
    device.connection = NotConnected;
    if (const auto* roles = reader.list("is")) {
        for (const JsonValue& value : *roles) {
            const auto* role = value.as<QString>();
            const RoleWord* word = role != nullptr ? rowOf(RoleWords, *role) : nullptr;
            if (word == nullptr) {
                const QString problem = role != nullptr
                    ? unknownWord(*role, QStringLiteral("kind of device"), ScenarioVocabulary::roles())
                    : QStringLiteral("a kind of device is a text, one of ")
                        + ScenarioVocabulary::roles().join(QStringLiteral(", "));
                reader.complain(value.line, QStringLiteral("\"is\" of %1: ").arg(reader.what()) + problem);
                return;
            }
            device.connection |= word->connection;
            if (word->also != nullptr) {
                device.*word->also = true;
            }
        }
    }
    if (device.connection == NotConnected) {
        device.connection = Plain;
    }
}

void readMovement(const JsonValue& value, const QString& device, base::Result<>& outcome,
                  SimulatedDevice& result)
{
    ObjectReader reader(value, QStringLiteral("\"moves\" of %1").arg(device), ScenarioVocabulary::movement(),
                        outcome);
    reader.require("to");
    reader.require("in");
    Movement movement;
    movement.from = result.signalStrength;
    movement.to = reader.wholeNumber("to", WeakestSignal, StrongestSignal).value_or(0);
    movement.duration = milliseconds(reader.number("in", 0, LongestTime).value_or(0));
    movement.returns = reader.truth("returns").value_or(false);
    result.movement = movement;
}

} // namespace

qulonglong addressFrom(const QString& text)
{
    const qulonglong address = AddressHelper::str2int(text);
    return AddressHelper::int2str(address) == text.toUpper() ? address : 0;
}

SimulatedDevice readDevice(const JsonValue& value, const QString& called, base::Result<>& outcome)
{
    ObjectReader reader(value, titleOf(value, called), ScenarioVocabulary::device(), outcome);
    SimulatedDevice device;
    readIdentity(reader, device);
    readPairing(reader, device);
    readRoles(reader, device);
    device.paired = reader.truth("paired").value_or(false);
    device.present = !reader.truth("absent").value_or(false);
    if (const JsonValue* moves = reader.member("moves")) {
        readMovement(*moves, reader.what(), outcome, device);
    }
    return device;
}

} // namespace bt

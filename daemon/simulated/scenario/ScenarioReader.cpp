#include "ScenarioReader.h"

#include "AddressHelper.h"
#include "ObjectReader.h"
#include "RadioTypes.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace bt {

namespace {

constexpr double WeakestSignal = -127;
constexpr double StrongestSignal = 20;
constexpr double LongestTime = 86'400; // seconds
constexpr unsigned LargestClass = 0xFFFFFF;

std::chrono::milliseconds milliseconds(double seconds)
{
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

qulonglong addressOf(const QString& text)
{
    const qulonglong address = AddressHelper::str2int(text);
    return AddressHelper::int2str(address) == text.toUpper() ? address : 0;
}

/// Reads one scenario. Everything that is wrong ends up in one problem, the first.
class Reader
{
public:
    std::variant<Scenario, TextProblem> read(const JsonValue& root);
    std::variant<SimulatedDevice, TextProblem> readOneDevice(const JsonValue& root);

private:
    void readDevice(const JsonValue& value);
    void readIdentity(ObjectReader& reader, SimulatedDevice& device);
    void readPairing(ObjectReader& reader, SimulatedDevice& device);
    void readRoles(ObjectReader& reader, SimulatedDevice& device);
    void readMovement(const JsonValue& value, SimulatedDevice& device);
    void readEvent(const JsonValue& value);
    void readMove(ObjectReader& reader, ScenarioEvent& event);
    [[nodiscard]] qulonglong find(const QString& nameOrAddress, ObjectReader& reader, int line) const;

    Scenario m_scenario;
    TextProblem m_problem;
};

std::variant<Scenario, TextProblem> Reader::read(const JsonValue& root)
{
    ObjectReader reader(root, QStringLiteral("a scenario"), ScenarioVocabulary::scenario(), m_problem);
    reader.text("description");
    reader.require("devices");
    if (const auto* devices = reader.list("devices")) {
        std::for_each(devices->begin(), devices->end(),
                      [this](const JsonValue& value) { readDevice(value); });
    }
    if (const auto* timeline = reader.list("timeline")) {
        std::for_each(timeline->begin(), timeline->end(),
                      [this](const JsonValue& value) { readEvent(value); });
    }
    if (!reader.isGood()) {
        return m_problem;
    }
    std::stable_sort(
        m_scenario.timeline.begin(), m_scenario.timeline.end(),
        [](const ScenarioEvent& left, const ScenarioEvent& right) { return left.time < right.time; });
    return m_scenario;
}

std::variant<SimulatedDevice, TextProblem> Reader::readOneDevice(const JsonValue& root)
{
    readDevice(root);
    if (!m_problem.text.isEmpty()) {
        return m_problem;
    }
    return m_scenario.devices.front();
}

void Reader::readDevice(const JsonValue& value)
{
    ObjectReader reader(value, QStringLiteral("a device"), ScenarioVocabulary::device(), m_problem);
    SimulatedDevice device;
    readIdentity(reader, device);
    readPairing(reader, device);
    readRoles(reader, device);
    device.paired = reader.truth("paired").value_or(false);
    device.present = !reader.truth("absent").value_or(false);
    if (const JsonValue* moves = reader.member("moves")) {
        readMovement(*moves, device);
    }
    m_scenario.devices.push_back(device);
}

void Reader::readIdentity(ObjectReader& reader, SimulatedDevice& device)
{
    reader.require("address");
    if (const auto text = reader.text("address")) {
        device.address = addressOf(*text);
        const bool twice =
            std::any_of(m_scenario.devices.begin(), m_scenario.devices.end(),
                        [&](const SimulatedDevice& other) { return other.address == device.address; });
        if (device.address == 0) {
            reader.complain(reader.lineOf("address"),
                            QStringLiteral("\"address\" of a device is \"%1\" but has to be like "
                                           "\"00:11:22:33:44:55\", not all zero")
                                .arg(*text));
        } else if (twice) {
            reader.complain(reader.lineOf("address"),
                            QStringLiteral("another device has the address %1 already").arg(*text));
        }
    }
    device.name = reader.text("name").value_or(QString());
    device.signalStrength =
        static_cast<int>(reader.number("rssi", WeakestSignal, StrongestSignal).value_or(-60));
    if (const auto text = reader.text("class")) {
        bool isNumber = false;
        device.deviceClass = text->toUInt(&isNumber, 0);
        if (!isNumber || device.deviceClass > LargestClass) {
            reader.complain(reader.lineOf("class"),
                            QStringLiteral("\"class\" of a device is \"%1\" but has to be a number of 24 "
                                           "bits like \"0x5a020c\"")
                                .arg(*text));
        }
    }
}

void Reader::readPairing(ObjectReader& reader, SimulatedDevice& device)
{
    using Device = SimulatedDevice;
    const QString pairing =
        reader.word("pairing", ScenarioVocabulary::pairing()).value_or(QStringLiteral("just-works"));
    if (pairing == QLatin1String("pin") || pairing == QLatin1String("wrong-pin")) {
        device.pairing = Device::Pairing::Pin;
    } else if (pairing == QLatin1String("code") || pairing == QLatin1String("refuses")) {
        device.pairing = Device::Pairing::Code;
    } else if (pairing == QLatin1String("confirmation")) {
        device.pairing = Device::Pairing::SimpleConfirmation;
    }
    if (pairing == QLatin1String("refuses")) {
        device.answer = Device::Answer::Refuses;
    } else if (pairing == QLatin1String("times-out")) {
        device.answer = Device::Answer::Silent;
    } else if (pairing == QLatin1String("out-of-reach")) {
        device.answer = Device::Answer::OutOfReach;
    }
    device.pin = reader.text("pin").value_or(QString());
    device.code = reader.text("code").value_or(QString());
    static const QRegularExpression digits(QStringLiteral("^[0-9]{6}$"));
    const bool takesPin = pairing == QLatin1String("pin");
    if (takesPin == device.pin.isEmpty() || (!takesPin && reader.member("pin") != nullptr)) {
        reader.complain(
            reader.lineOf("pin"),
            QStringLiteral("\"pin\" of a device goes with \"pairing\": \"pin\", and is not empty"));
    }
    if (reader.member("code") != nullptr
        && (pairing != QLatin1String("code") || !digits.match(device.code).hasMatch())) {
        reader.complain(
            reader.lineOf("code"),
            QStringLiteral("\"code\" of a device goes with \"pairing\": \"code\", and has six digits"));
    }
}

void Reader::readRoles(ObjectReader& reader, SimulatedDevice& device)
{
    device.connection = NotConnected;
    if (const auto* roles = reader.list("is")) {
        for (const JsonValue& value : *roles) {
            const auto* role = value.as<QString>();
            if (role == nullptr || !ScenarioVocabulary::roles().contains(*role)) {
                reader.complain(value.line,
                                QStringLiteral("\"is\" of a device: ")
                                    + unknownWord(role != nullptr ? *role : QString(),
                                                  QStringLiteral("kind of device"),
                                                  ScenarioVocabulary::roles()));
                return;
            }
            applyRole(device, *role);
        }
    }
    if (device.connection == NotConnected) {
        device.connection = Plain;
    }
}

void Reader::readMovement(const JsonValue& value, SimulatedDevice& device)
{
    ObjectReader reader(value, QStringLiteral("\"moves\""), ScenarioVocabulary::movement(), m_problem);
    reader.require("to");
    reader.require("in");
    Movement movement;
    movement.from = device.signalStrength;
    movement.to = static_cast<int>(reader.number("to", WeakestSignal, StrongestSignal).value_or(0));
    movement.duration = milliseconds(reader.number("in", 0, LongestTime).value_or(0));
    movement.returns = reader.truth("returns").value_or(false);
    device.movement = movement;
}

qulonglong Reader::find(const QString& nameOrAddress, ObjectReader& reader, int line) const
{
    const qulonglong address = addressOf(nameOrAddress);
    QStringList names;
    qulonglong found = 0;
    int count = 0;
    for (const SimulatedDevice& device : m_scenario.devices) {
        names << (device.name.isEmpty() ? AddressHelper::int2str(device.address) : device.name);
        if (device.address == address || (address == 0 && device.name == nameOrAddress)) {
            found = device.address;
            ++count;
        }
    }
    if (count > 1) {
        reader.complain(line,
                        QStringLiteral("several devices are called \"%1\"; name the address of the one")
                            .arg(nameOrAddress));
    } else if (count == 0) {
        reader.complain(line, unknownWord(nameOrAddress, QStringLiteral("device of this scenario"), names));
    }
    return found;
}

void Reader::readEvent(const JsonValue& value)
{
    using Kind = ScenarioEvent::Kind;
    static const std::vector<std::pair<const char*, Kind>> kinds{
        { "connect", Kind::Connect }, { "pair-request", Kind::PairRequest },
        { "drop", Kind::Drop },       { "disappear", Kind::Disappear },
        { "appear", Kind::Appear },   { "move", Kind::Move },
    };
    ObjectReader reader(value, QStringLiteral("an event"), ScenarioVocabulary::event(), m_problem);
    ScenarioEvent event;
    reader.require("after");
    event.time = milliseconds(reader.number("after", 0, LongestTime).value_or(0));
    int count = 0;
    for (const auto& [name, kind] : kinds) {
        if (const auto device = reader.text(name)) {
            ++count;
            event.kind = kind;
            event.address = find(*device, reader, reader.lineOf(name));
        }
    }
    if (count != 1) {
        reader.complain(value.line,
                        QStringLiteral("an event has exactly one of \"connect\", \"pair-request\", "
                                       "\"drop\", \"disappear\", \"appear\", \"move\""));
    }
    readMove(reader, event);
    m_scenario.timeline.push_back(event);
}

void Reader::readMove(ObjectReader& reader, ScenarioEvent& event)
{
    if (event.kind == ScenarioEvent::Kind::Move) {
        reader.require("to");
    } else if (reader.member("to") != nullptr || reader.member("in") != nullptr) {
        reader.complain(reader.lineOf("to"), QStringLiteral("\"to\" and \"in\" go with \"move\" alone"));
    }
    event.signalStrength = static_cast<int>(reader.number("to", WeakestSignal, StrongestSignal).value_or(0));
    event.duration = milliseconds(reader.number("in", 0, LongestTime).value_or(0));
}

} // namespace

void applyRole(SimulatedDevice& device, const QString& role)
{
    if (role == QLatin1String("plain")) {
        device.connection |= Plain;
    } else if (role == QLatin1String("headset")) {
        device.connection |= Headset;
    } else if (role == QLatin1String("ftp")) {
        device.connection |= Ftp;
    } else if (role == QLatin1String("ios")) {
        device.connection |= Iap;
    } else if (role == QLatin1String("app")) {
        device.companion = true;
    } else if (role == QLatin1String("wifed")) {
        device.wifed = true;
    }
}

std::variant<Scenario, TextProblem> readScenario(const QByteArray& text)
{
    const auto parsed = parseJson(text);
    if (const auto* problem = std::get_if<TextProblem>(&parsed)) {
        return *problem;
    }
    return Reader().read(std::get<JsonValue>(parsed));
}

std::variant<SimulatedDevice, TextProblem> readDevice(const QByteArray& text)
{
    const auto parsed = parseJson(text);
    if (const auto* problem = std::get_if<TextProblem>(&parsed)) {
        return *problem;
    }
    return Reader().readOneDevice(std::get<JsonValue>(parsed));
}

} // namespace bt

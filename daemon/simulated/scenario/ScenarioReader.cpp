#include "ScenarioReader.h"

#include "AddressHelper.h"
#include "DeviceReader.h"
#include "EventWords.h"
#include "ObjectReader.h"
#include "Quantities.h"
#include "Quoted.h"
#include "WordTable.h"

#include <QHash>

#include <algorithm>
#include <utility>

namespace bt {

namespace {

/// "the 3rd device", for what may have no name.
QString ordinal(std::size_t index, const char* kind)
{
    const std::size_t number = index + 1;
    const bool isTeen = number / 10 % 10 == 1;
    const char* ending = isTeen ? "th"
        : number % 10 == 1      ? "st"
        : number % 10 == 2      ? "nd"
        : number % 10 == 3      ? "rd"
                                : "th";
    return QStringLiteral("the %1%2 %3").arg(number).arg(QLatin1String(ending), QLatin1String(kind));
}

/// Reads one scenario. Of what is wrong, the first stays.
class Reader
{
public:
    base::Result<Scenario> read(const JsonValue& root);

private:
    void readDevices(const JsonValue::Elements& devices);
    void readTimeline(const JsonValue::Elements& timeline);
    void readEvent(const JsonValue& value, const QString& called);
    void readMove(ObjectReader& reader, ScenarioEvent& event);
    [[nodiscard]] qulonglong find(const QString& nameOrAddress, ObjectReader& reader, int line) const;

    Scenario m_scenario;
    QHash<qulonglong, QString> m_names; ///< by address
    QMultiHash<QString, qulonglong> m_addresses; ///< by name
    base::Result<> m_outcome;
};

base::Result<Scenario> Reader::read(const JsonValue& root)
{
    ObjectReader reader(root, QStringLiteral("a scenario"), ScenarioVocabulary::scenario(), m_outcome);
    reader.text("$schema");
    reader.text("description");
    reader.require("devices");
    if (const auto* devices = reader.list("devices")) {
        readDevices(*devices);
    }
    if (const auto* timeline = reader.list("timeline")) {
        readTimeline(*timeline);
    }
    if (!reader.isGood()) {
        return tl::unexpected(m_outcome.error());
    }
    std::stable_sort(
        m_scenario.timeline.begin(), m_scenario.timeline.end(),
        [](const ScenarioEvent& left, const ScenarioEvent& right) { return left.time < right.time; });
    return m_scenario;
}

void Reader::readDevices(const JsonValue::Elements& devices)
{
    for (const JsonValue& value : devices) {
        const QString called = ordinal(m_scenario.devices.size(), "device");
        const SimulatedDevice device = readDevice(value, called, m_outcome);
        if (m_outcome && m_names.contains(device.address)) {
            m_outcome = base::error(QStringLiteral("%1: another device has the address %2 already")
                                        .arg(called, AddressHelper::int2str(device.address)),
                                    base::Failure::InvalidArgument, value.line);
        }
        if (!m_outcome) {
            return;
        }
        m_names.insert(device.address, device.name);
        m_addresses.insert(device.name, device.address);
        m_scenario.devices.push_back(device);
    }
}

void Reader::readTimeline(const JsonValue::Elements& timeline)
{
    for (const JsonValue& value : timeline) {
        if (!m_outcome) {
            return;
        }
        readEvent(value, ordinal(m_scenario.timeline.size(), "event"));
    }
}

qulonglong Reader::find(const QString& nameOrAddress, ObjectReader& reader, int line) const
{
    const qulonglong address = addressFrom(nameOrAddress);
    if (address != 0 && m_names.contains(address)) {
        return address;
    }
    const QList<qulonglong> called = m_addresses.values(nameOrAddress);
    if (called.size() == 1 && !nameOrAddress.isEmpty()) {
        return called.first();
    }
    if (called.size() > 1 && !nameOrAddress.isEmpty()) {
        reader.complain(line,
                        QStringLiteral("%1: several devices are called %2; name the address of the one")
                            .arg(reader.what(), base::quoted(nameOrAddress)));
        return 0;
    }
    const bool meansAddress = nameOrAddress.contains(QLatin1Char(':'));
    QStringList words;
    for (const SimulatedDevice& device : m_scenario.devices) {
        words << (meansAddress || device.name.isEmpty() ? AddressHelper::int2str(device.address)
                                                        : device.name);
    }
    reader.complain(line,
                    reader.what() + QStringLiteral(": ")
                        + unknownWord(nameOrAddress, QStringLiteral("device of this scenario"), words));
    return 0;
}

void Reader::readEvent(const JsonValue& value, const QString& called)
{
    ObjectReader reader(value, called, ScenarioVocabulary::event(), m_outcome);
    ScenarioEvent event;
    reader.require("after");
    event.time = milliseconds(reader.number("after", 0, LongestTime).value_or(0));
    int count = 0;
    for (const auto& [name, kind] : EventWords) {
        if (const auto device = reader.text(name)) {
            ++count;
            event.kind = kind;
            event.address = find(*device, reader, reader.lineOf(name));
        }
    }
    if (count != 1) {
        reader.complain(value.line,
                        QStringLiteral("%1 has to have exactly one of \"%2\"")
                            .arg(called, wordsOf(EventWords).join(QStringLiteral("\", \""))));
    }
    readMove(reader, event);
    m_scenario.timeline.push_back(event);
}

void Reader::readMove(ObjectReader& reader, ScenarioEvent& event)
{
    if (event.kind == ScenarioEvent::Kind::Move) {
        reader.require("to");
    } else if (reader.member("to") != nullptr || reader.member("in") != nullptr) {
        reader.complain(reader.lineOf(reader.member("to") != nullptr ? "to" : "in"),
                        QStringLiteral("%1: \"to\" and \"in\" go with \"move\" alone").arg(reader.what()));
    }
    event.signalStrength = reader.wholeNumber("to", WeakestSignal, StrongestSignal).value_or(0);
    event.duration = milliseconds(reader.number("in", 0, LongestTime).value_or(0));
}

} // namespace

base::Result<Scenario> readScenario(const QByteArray& text)
{
    return parseJson(text).and_then([](const JsonValue& root) { return Reader().read(root); });
}

base::Result<SimulatedDevice> readDevice(const QByteArray& text)
{
    return parseJson(text).and_then([](const JsonValue& root) {
        base::Result<> outcome;
        SimulatedDevice device = readDevice(root, QStringLiteral("the device"), outcome);
        return outcome.map([&device] { return std::move(device); });
    });
}

} // namespace bt

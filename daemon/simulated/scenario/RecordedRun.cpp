#include "RecordedRun.h"

#include "DaemonTypes.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <map>

namespace bt {

namespace {

using Json = nlohmann::json;

QString text(const Json& value)
{
    return QString::fromStdString(value.get<std::string>());
}

ScanResults scanResultsOf(const Json& value)
{
    ScanResults results;
    for (const Json& fields : value) {
        ScanEntry entry;
        entry.address = fields.at(0).get<qulonglong>();
        entry.signalStrength = fields.at(1).get<int>();
        entry.name = text(fields.at(2));
        results.entries.append(entry);
    }
    return results;
}

PairList pairListOf(const Json& value)
{
    PairList list;
    for (const Json& fields : value) {
        list.entries.append(
            PairEntry{ fields.at(0).get<qulonglong>(), text(fields.at(1)), fields.at(2).get<uint>() });
    }
    return list;
}

/// Makes a value of a D-Bus type from its JSON form.
using Decoder = QVariant (*)(const Json& value);

const std::map<std::string, Decoder>& decoders()
{
    static const std::map<std::string, Decoder> all{
        { "b",
          [](const Json& value) {
              return QVariant(value.get<bool>());
          } },
        { "i",
          [](const Json& value) {
              return QVariant(value.get<int>());
          } },
        { "u",
          [](const Json& value) {
              return QVariant(value.get<uint>());
          } },
        { "t",
          [](const Json& value) {
              return QVariant(value.get<qulonglong>());
          } },
        { "d",
          [](const Json& value) {
              return QVariant(value.get<double>());
          } },
        { "s",
          [](const Json& value) {
              return QVariant(text(value));
          } },
        { "a(tis)",
          [](const Json& value) {
              return QVariant::fromValue(scanResultsOf(value));
          } },
        { "a(tsu)",
          [](const Json& value) {
              return QVariant::fromValue(pairListOf(value));
          } },
    };
    return all;
}

/// Reads one line. What is wrong is in \a problem; the library throws where a member is missing.
class LineReader
{
public:
    explicit LineReader(QString& problem)
        : m_problem(problem)
    {
    }

    RecordedEvent read(const Json& line)
    {
        RecordedEvent event;
        event.time = std::chrono::milliseconds(std::llround(line.at("time").get<double>() * 1000));
        if (line.contains("appeared")) {
            event.kind = RecordedEvent::Kind::Appeared;
            for (const auto& [name, value] : line.at("appeared").items()) {
                event.properties.insert(QString::fromStdString(name), decode(value));
            }
        } else if (line.contains("left")) {
            event.kind = RecordedEvent::Kind::Left;
        } else {
            const bool isSignal = line.contains("signal");
            event.kind = isSignal ? RecordedEvent::Kind::Signal : RecordedEvent::Kind::Property;
            event.name = text(line.at(isSignal ? "signal" : "property"));
            event.value = decode(line.at("value"));
        }
        return event;
    }

private:
    QVariant decode(const Json& value)
    {
        const std::string type = value.at("type").get<std::string>();
        const auto found = decoders().find(type);
        if (found == decoders().end()) {
            m_problem = QStringLiteral("a value of the D-Bus type \"%1\" cannot be replayed")
                            .arg(QString::fromStdString(type));
            return {};
        }
        return found->second(value.at("value"));
    }

    QString& m_problem;
};

/// From the first appearance on, counted from there.
void beginWithAppearance(RecordedRun& run)
{
    const auto first = std::find_if(run.events.begin(), run.events.end(), [](const RecordedEvent& event) {
        return event.kind == RecordedEvent::Kind::Appeared;
    });
    run.events.erase(run.events.begin(), first);
    const auto begin = run.events.empty() ? std::chrono::milliseconds(0) : run.events.front().time;
    for (RecordedEvent& event : run.events) {
        event.time -= begin;
    }
}

} // namespace

std::variant<RecordedRun, TextProblem> readRecording(const QByteArray& text)
{
    registerDaemonTypes();
    RecordedRun run;
    int number = 0;
    for (const QByteArray& line : text.split('\n')) {
        ++number;
        if (line.trimmed().isEmpty()) {
            continue;
        }
        QString problem;
        try {
            run.events.push_back(LineReader(problem).read(Json::parse(line.constBegin(), line.constEnd())));
        } catch (const Json::exception& error) {
            problem = QString::fromUtf8(error.what());
        }
        if (!problem.isEmpty()) {
            return TextProblem{ number, QStringLiteral("no line of a recording: ") + problem };
        }
    }
    beginWithAppearance(run);
    if (run.events.empty()) {
        return TextProblem{ number, QStringLiteral("no daemon appears in this recording") };
    }
    return run;
}

} // namespace bt

#include "RecordingReader.h"

#include "Signature.h"
#include "ValueReader.h"

#include <nlohmann/json.hpp>

#include <QDBusVariant>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace recording {

namespace {

using Json = nlohmann::json;
using Kind = RecordedEvent::Kind;

constexpr double LongestRun = 31'536'000; // seconds: a year
/// Far below what a message may hold, whatever the types in it are.
constexpr int LongestLine = 8 * 1024 * 1024;

struct KindName
{
    Kind kind;
    const char* name;
};
constexpr std::array<KindName, 5> KindNames{ {
    { Kind::Appeared, "appeared" },
    { Kind::Left, "left" },
    { Kind::HandedOver, "handover" },
    { Kind::Signal, "signal" },
    { Kind::Property, "property" },
} };

QString quoted(const std::string& text)
{
    return QLatin1Char('"') + QString::fromStdString(text) + QLatin1Char('"');
}

/// Reads lines, one after the other. The first problem stays.
class LineReader
{
public:
    base::Result<RecordedEvent> read(const QByteArray& line)
    {
        RecordedEvent event;
        if (const auto json = parse(line)) {
            const KindName* kind = kindOf(*json);
            readTime(*json, event);
            if (kind != nullptr) {
                event.kind = kind->kind;
                readContent(*json, *kind, event);
            }
        }
        if (!m_problem.isEmpty()) {
            return base::error(m_problem);
        }
        return event;
    }

private:
    std::optional<Json> parse(const QByteArray& line)
    {
        if (line.size() > LongestLine) {
            complain(QStringLiteral("this line is longer than 8 MiB"));
            return {};
        }
        try {
            Json json = Json::parse(line.constBegin(), line.constEnd());
            if (json.is_object()) {
                return json;
            }
            complain(QStringLiteral("this line is no object"));
        } catch (const Json::parse_error& error) {
            complain(error.byte > static_cast<std::size_t>(line.size())
                         ? QStringLiteral("this line breaks off")
                         : QStringLiteral("this line is no JSON at its byte %1").arg(error.byte));
        } catch (const Json::exception&) {
            complain(QStringLiteral("this line has a number that is too large"));
        }
        m_problem += QStringLiteral(R"(; a line of a recording is like {"time": 0.5, "left": true})");
        return {};
    }

    void readTime(const Json& json, RecordedEvent& event)
    {
        const auto time = json.find("time");
        const double seconds = time != json.end() && time->is_number() ? time->get<double>() : -1;
        if (seconds < 0 || seconds > LongestRun) {
            complain(QStringLiteral(R"("time" %1 but has to be a number of seconds from 0 to %2)")
                         .arg(time == json.end() ? QStringLiteral("is missing")
                                                 : QStringLiteral("is ") + scalar(*time))
                         .arg(LongestRun, 0, 'f', 0));
        } else if (seconds < m_lastTime) {
            complain(QStringLiteral(R"("time" is %1, before the %2 of the line above; the lines go by time)")
                         .arg(seconds, 0, 'g', 12)
                         .arg(m_lastTime, 0, 'g', 12));
        } else {
            m_lastTime = seconds;
            event.time = std::chrono::milliseconds(std::llround(seconds * 1000));
        }
    }

    /// Exactly one; null after a problem.
    const KindName* kindOf(const Json& json)
    {
        const KindName* found = nullptr;
        int count = 0;
        for (const KindName& kind : KindNames) {
            if (json.contains(kind.name)) {
                found = &kind;
                ++count;
            }
        }
        if (count == 1) {
            return found;
        }
        complain(
            QStringLiteral(
                R"(a line has one of "appeared", "left", "handover", "signal" and "property", but this has %1)")
                .arg(count == 0 ? QStringLiteral("none") : QString::number(count)));
        return nullptr;
    }

    void readContent(const Json& json, const KindName& kind, RecordedEvent& event)
    {
        const Json& content = json.at(kind.name);
        QStringList fields{ QStringLiteral("time"), QLatin1String(kind.name) };
        switch (kind.kind) {
        case Kind::Appeared:
            readProperties(content, event);
            break;
        case Kind::Left:
        case Kind::HandedOver:
            if (content != true) {
                complain(QStringLiteral("\"%1\" has to be true").arg(QLatin1String(kind.name)));
            }
            break;
        case Kind::Signal:
        case Kind::Property: {
            event.name = content.is_string() ? QString::fromStdString(content.get<std::string>()) : QString();
            checkName(event.name,
                      QStringLiteral("\"%1\" is %2, which is no name")
                          .arg(QLatin1String(kind.name), scalar(content)));
            const bool hasArguments = kind.kind == Kind::Signal && json.contains("arguments");
            fields << (hasArguments ? QStringLiteral("arguments") : QStringLiteral("value"));
            hasArguments ? readArguments(json.at("arguments"), event) : readValue(json, event);
            break;
        }
        }
        for (const auto& [name, value] : json.items()) {
            if (!fields.contains(QString::fromStdString(name))) {
                complain(QStringLiteral("%1 is no field of this line; there are \"%2\"")
                             .arg(quoted(name), fields.join(QStringLiteral("\", \""))));
            }
        }
    }

    void readProperties(const Json& content, RecordedEvent& event)
    {
        if (!content.is_object()) {
            complain(QStringLiteral(R"("appeared" has to be an object, a VALUE for each property)"));
            return;
        }
        for (const auto& [name, value] : content.items()) {
            const QString property = QString::fromStdString(name);
            checkName(property,
                      QStringLiteral("\"appeared\" has the property %1, which is no name").arg(quoted(name)));
            event.properties.insert(property, typedValue(value, QStringLiteral("the property ") + property));
        }
    }

    void readValue(const Json& json, RecordedEvent& event)
    {
        if (!json.contains("value")) {
            complain(QStringLiteral(R"(%1 needs a "value", like {"type": "i", "value": 7})").arg(event.name));
            return;
        }
        event.value = typedValue(json.at("value"), QStringLiteral("\"value\" of ") + event.name);
        event.arguments = { QVariant::fromValue(QDBusVariant(event.value)) };
    }

    void readArguments(const Json& arguments, RecordedEvent& event)
    {
        if (!arguments.is_array()) {
            complain(QStringLiteral("\"arguments\" of %1 has to be a list").arg(event.name));
            return;
        }
        for (const Json& argument : arguments) {
            event.arguments << typedValue(argument, QStringLiteral("an argument of ") + event.name);
        }
    }

    QVariant typedValue(const Json& json, const QString& name)
    {
        const auto read = readTypedValue(json, name);
        if (!read) {
            complain(read.error().text);
        }
        return read.value_or(QVariant());
    }

    void checkName(const QString& name, const QString& what)
    {
        if (!isMemberName(name)) {
            complain(what + QStringLiteral("; a name has letters, digits and _, and no digit first"));
        }
    }

    static QString scalar(const Json& json)
    {
        return json.is_structured()
            ? QStringLiteral("a list or an object")
            : QString::fromStdString(json.dump(-1, ' ', false, Json::error_handler_t::replace));
    }

    void complain(const QString& problem)
    {
        if (m_problem.isEmpty()) {
            m_problem = problem;
        }
    }

    QString m_problem;
    double m_lastTime = 0;
};

/// From the first appearance on, counted from there.
void beginWithAppearance(RecordedRun& run)
{
    const auto first = std::find_if(run.events.begin(), run.events.end(),
                                    [](const RecordedEvent& event) { return event.kind == Kind::Appeared; });
    run.events.erase(run.events.begin(), first);
    const auto begin = run.events.empty() ? std::chrono::milliseconds(0) : run.events.front().time;
    for (RecordedEvent& event : run.events) {
        event.time -= begin;
    }
}

} // namespace

base::Result<RecordedRun> readRecording(const QByteArray& text)
{
    RecordedRun run;
    LineReader reader;
    int number = 0;
    for (const QByteArray& line : text.split('\n')) {
        ++number;
        if (line.trimmed().isEmpty()) {
            continue;
        }
        const auto event = reader.read(line);
        if (!event) {
            return base::error(event.error().text, base::Failure::InvalidArgument, number);
        }
        run.events.push_back(*event);
    }
    beginWithAppearance(run);
    if (run.events.empty()) {
        return base::error(QStringLiteral("no daemon appears in this recording; it needs a line like "
                                          R"({"time": 0, "appeared": {}})"),
                           base::Failure::InvalidArgument, number);
    }
    return run;
}

} // namespace recording

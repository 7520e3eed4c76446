#include "RecordingReader.h"

#include "Signature.h"
#include "ValueReader.h"

#include <nlohmann/json.hpp>

#include <QDBusVariant>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

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

QString scalar(const Json& json)
{
    return json.is_structured()
        ? QStringLiteral("a list or an object")
        : QString::fromStdString(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

base::Result<Json> parse(const QByteArray& line)
{
    const auto noLine = [](const QString& what) {
        return base::error(
            what + QStringLiteral(R"(; a line of a recording is like {"time": 0.5, "left": true})"));
    };
    if (line.size() > LongestLine) {
        return base::error(QStringLiteral("this line is longer than 8 MiB"));
    }
    try {
        Json json = Json::parse(line.constBegin(), line.constEnd());
        if (json.is_object()) {
            return json;
        }
        return noLine(QStringLiteral("this line is no object"));
    } catch (const Json::parse_error& error) {
        return noLine(error.byte > static_cast<std::size_t>(line.size())
                          ? QStringLiteral("this line breaks off")
                          : QStringLiteral("this line is no JSON at its byte %1").arg(error.byte));
    } catch (const Json::exception&) {
        return noLine(QStringLiteral("this line has a number that is too large"));
    }
}

/// In seconds, not before that of the line above.
base::Result<double> readTime(const Json& json, double above)
{
    const auto time = json.find("time");
    const double seconds = time != json.end() && time->is_number() ? time->get<double>() : -1;
    if (seconds < 0 || seconds > LongestRun) {
        return base::error(QStringLiteral(R"("time" %1 but has to be a number of seconds from 0 to %2)")
                               .arg(time == json.end() ? QStringLiteral("is missing")
                                                       : QStringLiteral("is ") + scalar(*time))
                               .arg(LongestRun, 0, 'f', 0));
    }
    if (seconds < above) {
        return base::error(
            QStringLiteral(R"("time" is %1, before the %2 of the line above; the lines go by time)")
                .arg(seconds, 0, 'g', 12)
                .arg(above, 0, 'g', 12));
    }
    return seconds;
}

/// Exactly one.
base::Result<KindName> kindOf(const Json& json)
{
    std::vector<KindName> found;
    std::copy_if(KindNames.begin(), KindNames.end(), std::back_inserter(found),
                 [&json](const KindName& kind) { return json.contains(kind.name); });
    if (found.size() == 1) {
        return found.front();
    }
    return base::error(
        QStringLiteral(
            R"(a line has one of "appeared", "left", "handover", "signal" and "property", but this has %1)")
            .arg(found.empty() ? QStringLiteral("none") : QString::number(found.size())));
}

base::Result<> checkName(const QString& name, const QString& what)
{
    if (isMemberName(name)) {
        return {};
    }
    return base::error(what + QStringLiteral("; a name has letters, digits and _, and no digit first"));
}

base::Result<> readProperties(const Json& content, RecordedEvent& event)
{
    if (!content.is_object()) {
        return base::error(QStringLiteral(R"("appeared" has to be an object, a VALUE for each property)"));
    }
    base::Result<> result;
    for (auto part = content.begin(); result && part != content.end(); ++part) {
        const QString name = QString::fromStdString(part.key());
        result = checkName(name,
                           QStringLiteral("\"appeared\" has the property \"%1\", which is no name").arg(name))
                     .and_then([&] { return readTypedValue(*part, QStringLiteral("the property ") + name); })
                     .map([&](const QVariant& value) { event.properties.insert(name, value); });
    }
    return result;
}

base::Result<> readValue(const Json& json, RecordedEvent& event)
{
    if (!json.contains("value")) {
        return base::error(
            QStringLiteral(R"(%1 needs a "value", like {"type": "i", "value": 7})").arg(event.name));
    }
    return readTypedValue(json.at("value"), QStringLiteral("\"value\" of ") + event.name)
        .map([&event](const QVariant& value) {
            event.value = value;
            event.arguments = { QVariant::fromValue(QDBusVariant(value)) };
        });
}

base::Result<> readArguments(const Json& arguments, RecordedEvent& event)
{
    if (!arguments.is_array()) {
        return base::error(QStringLiteral("\"arguments\" of %1 has to be a list").arg(event.name));
    }
    base::Result<> result;
    for (auto argument = arguments.begin(); result && argument != arguments.end(); ++argument) {
        result = readTypedValue(*argument, QStringLiteral("an argument of ") + event.name)
                     .map([&event](const QVariant& value) { event.arguments << value; });
    }
    return result;
}

base::Result<> checkFields(const Json& json, const QStringList& fields)
{
    for (const auto& [key, value] : json.items()) {
        const QString name = QString::fromStdString(key);
        if (!fields.contains(name)) {
            return base::error(QStringLiteral("\"%1\" is no field of this line; there are \"%2\"")
                                   .arg(name, fields.join(QStringLiteral("\", \""))));
        }
    }
    return {};
}

/// What a line of this kind has besides its time.
base::Result<> readContent(const Json& json, const KindName& kind, RecordedEvent& event)
{
    const QString kindName = QLatin1String(kind.name);
    const Json& content = json.at(kind.name);
    QStringList fields{ QStringLiteral("time"), kindName };
    base::Result<> result;
    event.kind = kind.kind;
    if (kind.kind == Kind::Appeared) {
        result = readProperties(content, event);
    } else if (kind.kind == Kind::Left || kind.kind == Kind::HandedOver) {
        if (content != true) {
            return base::error(QStringLiteral("\"%1\" has to be true").arg(kindName));
        }
    } else {
        event.name = content.is_string() ? QString::fromStdString(content.get<std::string>()) : QString();
        const bool hasArguments = kind.kind == Kind::Signal && json.contains("arguments");
        fields << (hasArguments ? QStringLiteral("arguments") : QStringLiteral("value"));
        result =
            checkName(event.name,
                      QStringLiteral("\"%1\" is %2, which is no name").arg(kindName, scalar(content)))
                .and_then([&] {
                    return hasArguments ? readArguments(json.at("arguments"), event) : readValue(json, event);
                });
    }
    return result.and_then([&] { return checkFields(json, fields); });
}

/// \a lastTime is that of the line above, and then of this one.
base::Result<RecordedEvent> readLine(const QByteArray& line, double& lastTime)
{
    const auto json = parse(line);
    if (!json) {
        return tl::unexpected(json.error());
    }
    RecordedEvent event;
    return kindOf(*json).and_then([&](const KindName& kind) {
        return readTime(*json, lastTime)
            .and_then([&](double seconds) {
                lastTime = seconds;
                event.time = std::chrono::milliseconds(std::llround(seconds * 1000));
                return readContent(*json, kind, event);
            })
            .map([&event] { return std::move(event); });
    });
}

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
    double lastTime = 0;
    int number = 0;
    for (const QByteArray& line : text.split('\n')) {
        ++number;
        if (line.trimmed().isEmpty()) {
            continue;
        }
        const auto event = readLine(line, lastTime);
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

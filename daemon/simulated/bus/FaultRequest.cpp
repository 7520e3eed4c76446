#include "FaultRequest.h"

#include "BluetoothIf.h"
#include "ExampleValue.h"
#include "Signature.h"
#include "ValueReader.h"
#include "base/NearestWord.h"

#include <nlohmann/json.hpp>

#include <QMetaMethod>
#include <QMetaProperty>

#include <cmath>
#include <map>

namespace bt {

namespace {

using Kind = FaultRequest::Kind;

constexpr double LongestTime = 3600; // seconds
constexpr int LargestBurst = 100'000;

/// What a kind is asked for with.
struct Form
{
    Kind kind;
    const char* arguments;
    int least; ///< arguments behind the kind
    int most;
};

const std::map<QString, Form>& forms()
{
    static const std::map<QString, Form> all{
        { QStringLiteral("none"), { Kind::None, "", 0, 0 } },
        { QStringLiteral("stall"), { Kind::Stall, "[SECONDS]", 0, 1 } },
        { QStringLiteral("crash"), { Kind::Crash, "", 0, 0 } },
        { QStringLiteral("leave"), { Kind::Leave, "[SECONDS]", 0, 1 } },
        { QStringLiteral("handover"), { Kind::Handover, "", 0, 0 } },
        { QStringLiteral("ignore-sigterm"), { Kind::IgnoreSigterm, "SECONDS", 1, 1 } },
        { QStringLiteral("slow"), { Kind::Slow, "SECONDS", 1, 1 } },
        { QStringLiteral("error"), { Kind::Error, "", 0, 0 } },
        { QStringLiteral("payload"), { Kind::Payload, "SIGNAL|PROPERTY SHAPE [VALUE]", 2, 3 } },
        { QStringLiteral("burst"), { Kind::Burst, "N", 1, 1 } },
        { QStringLiteral("silent-property"), { Kind::SilentProperty, "PROPERTY", 1, 1 } },
    };
    return all;
}

QStringList kindNames()
{
    QStringList names;
    for (const auto& [name, form] : forms()) {
        names << name;
    }
    return names;
}

QStringList propertyNames()
{
    QStringList names;
    const QMetaObject& type = BluetoothIf::staticMetaObject;
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        names << QLatin1String(type.property(i).name());
    }
    return names;
}

QStringList signalNames()
{
    QStringList names;
    const QMetaObject& type = BluetoothIf::staticMetaObject;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        if (type.method(i).methodType() == QMetaMethod::Signal) {
            names << QString::fromLatin1(type.method(i).name());
        }
    }
    return names;
}

QString unknown(const QString& word, const char* role, const QStringList& words)
{
    const QString nearest = base::nearestWord(word, words);
    return QStringLiteral("\"%1\" is no %2").arg(word, QLatin1String(role))
        + (nearest.isEmpty() ? QStringLiteral("; there are %1").arg(words.join(QStringLiteral(", ")))
                             : QStringLiteral("; did you mean \"%1\"?").arg(nearest));
}

std::optional<std::chrono::milliseconds> secondsOf(const QString& text, QString& problem)
{
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (isNumber && seconds >= 0 && seconds <= LongestTime) {
        return std::chrono::milliseconds(std::llround(seconds * 1000));
    }
    problem = QStringLiteral("\"%1\" is no number of seconds from 0 to 3600").arg(text);
    return {};
}

QString readPayload(Payload& payload)
{
    const QByteArray signature = payload.signature.toUtf8();
    if (const QString wrong = signatureProblem(signature); !wrong.isEmpty()) {
        return QStringLiteral(
                   "\"%1\" is no shape: %2; a shape is one D-Bus type, like i, as, a{sv} or a(tis)")
            .arg(payload.signature, wrong);
    }
    const auto json = payload.json.isEmpty()
        ? exampleValue(signature)
        : nlohmann::json::parse(payload.json.toStdString(), nullptr, false);
    if (json.is_discarded()) {
        return QStringLiteral("the value %1 is no JSON, like %2 of the shape %3")
            .arg(payload.json, QString::fromStdString(exampleValue(signature).dump()), payload.signature);
    }
    const auto read = readValue(signature, json);
    if (const auto* problem = std::get_if<ValueProblem>(&read)) {
        return problem->of(QStringLiteral("the value"));
    }
    payload.value = std::get<QVariant>(read);
    return {};
}

/// Reads what stands behind the kind into the request.
QString readDetails(const QStringList& details, FaultRequest& request)
{
    QString problem;
    switch (request.kind) {
    case Kind::Stall:
    case Kind::Leave:
    case Kind::IgnoreSigterm:
    case Kind::Slow:
        if (!details.isEmpty()) {
            request.duration = secondsOf(details.first(), problem);
        }
        break;
    case Kind::Burst: {
        bool isNumber = false;
        request.count = details.first().toInt(&isNumber);
        if (!isNumber || request.count < 1 || request.count > LargestBurst) {
            problem = QStringLiteral("\"%1\" is no number of signals from 1 to 100000").arg(details.first());
        }
        break;
    }
    case Kind::Payload:
        request.name = details.first();
        request.payload = { details.at(1), details.value(2), {} };
        problem = (signalNames() + propertyNames()).contains(request.name)
            ? readPayload(request.payload)
            : unknown(request.name, "signal or property", signalNames() + propertyNames());
        break;
    case Kind::SilentProperty:
        request.name = details.first();
        if (!propertyNames().contains(request.name)) {
            problem = unknown(request.name, "property", propertyNames());
        }
        break;
    default:
        break;
    }
    return problem;
}

} // namespace

std::optional<FaultRequest> FaultRequest::parse(const QStringList& arguments, QString& problem)
{
    const QString name = arguments.value(0);
    const auto found = forms().find(name);
    if (found == forms().end()) {
        problem = unknown(name, "fault", kindNames());
        return {};
    }
    const Form& form = found->second;
    const QStringList details = arguments.mid(1);
    if (details.size() < form.least || details.size() > form.most) {
        problem = QStringLiteral("a fault is told as \"%1\"")
                      .arg((name + QLatin1Char(' ') + QLatin1String(form.arguments)).trimmed());
        return {};
    }
    FaultRequest request;
    request.kind = form.kind;
    problem = readDetails(details, request);
    return problem.isEmpty() ? std::optional<FaultRequest>(request) : std::nullopt;
}

} // namespace bt

#include "Faults.h"

#include "BluetoothIf.h"
#include "PayloadShapes.h"
#include "ScenarioReader.h"
#include "text/NearestWord.h"

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
        { QStringLiteral("payload"), { Kind::Payload, "SIGNAL|PROPERTY SHAPE", 2, 2 } },
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
    const QString nearest = text::nearestWord(word, words);
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
        request.payload = payloadOfShape(details.last());
        if (!(signalNames() + propertyNames()).contains(request.name)) {
            problem = unknown(request.name, "signal or property", signalNames() + propertyNames());
        } else if (!request.payload.isValid()) {
            problem = QStringLiteral("there is no shape \"%1\"; there are %2")
                          .arg(details.last(), payloadShapes().join(QStringLiteral(", ")));
        }
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

QString text(std::chrono::milliseconds time)
{
    return QString::number(static_cast<double>(time.count()) / 1000);
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

void Faults::apply(const FaultRequest& request)
{
    switch (request.kind) {
    case Kind::Error:
        answersErrors = true;
        break;
    case Kind::Slow:
        answersLate = request.duration.value_or(std::chrono::milliseconds(0));
        break;
    case Kind::IgnoreSigterm:
        ignoresSigterm = request.duration.value_or(std::chrono::milliseconds(0));
        break;
    case Kind::Burst:
        burst = request.count;
        break;
    case Kind::Payload:
        payloads.insert(request.name, request.payload);
        break;
    case Kind::SilentProperty:
        if (request.name == QLatin1String("wifedsConnected")) {
            silent += { QStringLiteral("wifedCmdCtlSockAvailable"), QStringLiteral("wifedCmdCtlSockClosed") };
        } else {
            silent.insert(request.name + QStringLiteral("Changed"));
        }
        break;
    default:
        break;
    }
}

QStringList Faults::texts() const
{
    QStringList lines;
    if (answersErrors) {
        lines << QStringLiteral("answers every request with an error");
    }
    if (answersLate.count() > 0) {
        lines << QStringLiteral("answers %1 s late").arg(text(answersLate));
    }
    if (ignoresSigterm.count() > 0) {
        lines << QStringLiteral("ignores SIGTERM for %1 s").arg(text(ignoresSigterm));
    }
    if (burst > 1) {
        lines << QStringLiteral("sends signals in bursts of %1").arg(burst);
    }
    QStringList names = payloads.keys();
    names.sort();
    for (const QString& name : qAsConst(names)) {
        lines << QStringLiteral("sends %1 in another shape").arg(name);
    }
    names = silent.values();
    names.sort();
    for (const QString& name : qAsConst(names)) {
        lines << QStringLiteral("does not send %1").arg(name);
    }
    return lines;
}

} // namespace bt

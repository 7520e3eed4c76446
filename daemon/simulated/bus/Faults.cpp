#include "Faults.h"

#include <algorithm>

namespace bt {

namespace {

using Kind = FaultRequest::Kind;

QString text(std::chrono::milliseconds time)
{
    return QString::number(static_cast<double>(time.count()) / 1000);
}

QStringList signalsOf(const QString& property)
{
    return property == QLatin1String("wifedsConnected")
        ? QStringList{ QStringLiteral("wifedCmdCtlSockAvailable"), QStringLiteral("wifedCmdCtlSockClosed") }
        : QStringList{ property + QStringLiteral("Changed") };
}

} // namespace

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
        silentProperties.insert(request.name);
        break;
    default:
        break;
    }
}

void Faults::replace(QVariantMap& properties) const
{
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        const auto payload = payloads.constFind(property.key());
        if (payload != payloads.constEnd()) {
            *property = payload->value;
        }
    }
}

bool Faults::isSilent(const QString& signal) const
{
    return std::any_of(silentProperties.begin(), silentProperties.end(),
                       [&](const QString& property) { return signalsOf(property).contains(signal); });
}

QVariantMap faultRecord(const char* kind, const QString& text, const QVariantMap& arguments)
{
    QVariantMap record = arguments;
    record.insert(QStringLiteral("kind"), QLatin1String(kind));
    record.insert(QStringLiteral("text"), text);
    return record;
}

QVariantMap secondsArgument(std::chrono::milliseconds time)
{
    return { { QStringLiteral("seconds"), static_cast<double>(time.count()) / 1000 } };
}

QList<QVariantMap> Faults::records() const
{
    QList<QVariantMap> records;
    if (answersErrors) {
        records << faultRecord("error", QStringLiteral("answers every request with an error"));
    }
    if (answersLate.count() > 0) {
        records << faultRecord("slow", QStringLiteral("answers %1 s late").arg(text(answersLate)),
                               secondsArgument(answersLate));
    }
    if (ignoresSigterm.count() > 0) {
        records << faultRecord("ignore-sigterm",
                               QStringLiteral("ignores SIGTERM for %1 s").arg(text(ignoresSigterm)),
                               secondsArgument(ignoresSigterm));
    }
    if (burst > 1) {
        records << faultRecord("burst", QStringLiteral("sends signals in bursts of %1").arg(burst),
                               { { QStringLiteral("count"), burst } });
    }
    for (auto payload = payloads.begin(); payload != payloads.end(); ++payload) {
        QVariantMap arguments{ { QStringLiteral("name"), payload.key() },
                               { QStringLiteral("signature"), payload->signature } };
        if (!payload->json.isEmpty()) {
            arguments.insert(QStringLiteral("value"), payload->json);
        }
        records << faultRecord("payload",
                               QStringLiteral("sends %1 as %2 %3")
                                   .arg(payload.key(), payload->signature, payload->json)
                                   .trimmed(),
                               arguments);
    }
    QStringList names = silentProperties.values();
    names.sort();
    for (const QString& name : qAsConst(names)) {
        records << faultRecord("silent-property", QStringLiteral("does not tell that %1 changes").arg(name),
                               { { QStringLiteral("name"), name } });
    }
    return records;
}

} // namespace bt

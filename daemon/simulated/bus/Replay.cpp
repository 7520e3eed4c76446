#include "Replay.h"

#include "DaemonNames.h"
#include "DaemonService.h"
#include "SimulationClock.h"
#include "bluetoothadaptor.h"

#include <QDBusError>
#include <QDBusVariant>
#include <QMetaMethod>

namespace bt {

namespace {

QString introspection()
{
    const QMetaObject& type = BluetoothAdaptor::staticMetaObject;
    const int index = type.indexOfClassInfo("D-Bus Introspection");
    return QStringLiteral("<node>") + QString::fromUtf8(type.classInfo(index).value())
        + QStringLiteral("</node>");
}

bool isDaemonMethod(const QString& member)
{
    const QMetaObject& type = BluetoothAdaptor::staticMetaObject;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        if (type.method(i).methodType() == QMetaMethod::Slot
            && member == QLatin1String(type.method(i).name())) {
            return true;
        }
    }
    return false;
}

QDBusMessage unknown(const QDBusMessage& request, QDBusError::ErrorType type)
{
    return request.createErrorReply(type,
                                    QStringLiteral("the recorded daemon has no %1").arg(request.member()));
}

} // namespace

Replay::Replay(recording::RecordedRun run, SimulationClock& clock)
    : m_run(std::move(run))
    , m_clock(clock)
{
}

void Replay::start()
{
    m_playing = std::make_unique<QObject>();
    m_properties = m_run.events.front().properties;
    for (auto event = m_run.events.begin() + 1; event != m_run.events.end(); ++event) {
        m_clock.after(event->time, m_playing.get(), [this, &event = *event] { happen(event); });
    }
}

void Replay::happen(const recording::RecordedEvent& event)
{
    using Kind = recording::RecordedEvent::Kind;
    switch (event.kind) {
    case Kind::Appeared:
        m_properties = event.properties;
        Q_EMIT returned();
        break;
    case Kind::Left:
        Q_EMIT left();
        break;
    case Kind::HandedOver:
        Q_EMIT handedOver();
        break;
    case Kind::Property:
        m_properties.insert(event.name, event.value);
        break;
    case Kind::Signal: {
        const QLatin1String suffix("Changed");
        const QString property = event.name.left(event.name.size() - suffix.size());
        if (event.name.endsWith(suffix) && event.value.isValid() && m_properties.contains(property)) {
            m_properties.insert(property, event.value);
        }
        Q_EMIT sent(event.name, event.arguments);
        break;
    }
    }
}

QDBusMessage Replay::answer(const QDBusMessage& request) const
{
    if (request.interface() == propertiesInterface()) {
        return answerProperties(request);
    }
    if (request.member() == QLatin1String("Introspect")) {
        return request.createReply(introspection());
    }
    return isDaemonMethod(request.member()) ? request.createReply()
                                            : unknown(request, QDBusError::UnknownMethod);
}

QDBusMessage Replay::answerProperties(const QDBusMessage& request) const
{
    if (request.member() == QLatin1String("GetAll")) {
        return request.createReply(m_properties);
    }
    const auto value = m_properties.constFind(request.arguments().value(1).toString());
    if (value == m_properties.constEnd()) {
        return unknown(request, QDBusError::UnknownProperty);
    }
    return request.member() == QLatin1String("Get")
        ? request.createReply(QVariant::fromValue(QDBusVariant(*value)))
        : request.createReply();
}

} // namespace bt

#include "Outflow.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <algorithm>
#include <limits>
#include <utility>

namespace ipc {

Outflow::Outflow(QDBusConnection connection)
    : m_connection(std::move(connection))
{
    m_sinceSignal.start();
}

void Outflow::send(const QDBusMessage& message, qint64 weight)
{
    m_connection.send(message);
    m_onTheWay += weight;
    if (!hasRoom() && !m_isAsking) {
        askBus();
    }
}

void Outflow::sendSignal(const QDBusMessage& message, qint64 weight)
{
    const qint64 refilled = m_signalsLeft + m_sinceSignal.restart() * SignalsPerSecond / 1000;
    m_signalsLeft = std::max(std::min(refilled, SignalsAtOnce) - weight, -SignalsPerSecond);
    send(message, weight);
}

int Outflow::delayOfSignals() const
{
    const qint64 missing = -m_signalsLeft * 1000 / SignalsPerSecond - m_sinceSignal.elapsed();
    return static_cast<int>(std::max<qint64>(missing, 0));
}

/// The bus takes what a connection sends in its order: with this answer it has all that stood before.
void Outflow::askBus()
{
    m_isAsking = true;
    const QDBusMessage ping = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    auto* answer =
        new QDBusPendingCallWatcher(m_connection.asyncCall(ping, std::numeric_limits<int>::max()), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, taken = m_onTheWay] {
        answer->deleteLater();
        m_isAsking = false;
        m_onTheWay -= taken;
        if (hasRoom()) {
            Q_EMIT roomMade();
        } else {
            askBus();
        }
    });
}

} // namespace ipc

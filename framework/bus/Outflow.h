#pragma once

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QObject>

namespace ipc {

/// What a server puts on the bus. It counts what the bus has not taken in yet: whoever sends much waits until
/// there is room, so that it gathers here, where it is bounded, and not in the connection.
class Outflow : public QObject
{
    Q_OBJECT
public:
    /// Bytes that may be on their way to the bus: more makes everybody's answer wait behind them.
    static constexpr qint64 MostOnTheWay = 256'000;
    /// Signals: bytes at once, and in each second after that. A bus may take all of a server's messages until
    /// 127 MB wait for a client that does not read, and none from then on.
    static constexpr qint64 SignalsAtOnce = 4'000'000;
    static constexpr qint64 SignalsPerSecond = 250'000;

    explicit Outflow(QDBusConnection connection);

    /// @param weight about how many bytes it has
    void send(const QDBusMessage& message, qint64 weight);
    void sendSignal(const QDBusMessage& message, qint64 weight);

    [[nodiscard]] bool hasRoom() const { return m_onTheWay < MostOnTheWay; }
    /// For those that do not wait for who sends much.
    [[nodiscard]] bool hasRoomForFew() const { return m_onTheWay < 2 * MostOnTheWay; }
    /// Not even short answers are taken any more.
    [[nodiscard]] bool isStuck() const { return m_onTheWay > 16 * MostOnTheWay; }
    /// After how many milliseconds a signal may be sent: 0 to 1000.
    [[nodiscard]] int delayOfSignals() const;

Q_SIGNALS:
    /// hasRoom() again.
    void roomMade();

private:
    void askBus();

    QDBusConnection m_connection;
    qint64 m_onTheWay = 0;
    bool m_isAsking = false;
    qint64 m_signalsLeft = SignalsAtOnce;
    QElapsedTimer m_sinceSignal;
};

} // namespace ipc

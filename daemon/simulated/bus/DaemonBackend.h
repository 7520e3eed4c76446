#pragma once

#include <QDBusMessage>
#include <QObject>

#include <functional>

namespace bt {

/// What answers behind the daemon's place on the bus. Requests and signals are D-Bus messages as clients send
/// and see them, so that whoever stands in between can hold up, change or lose any of them.
class DaemonBackend : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    using Reply = std::function<void(const QDBusMessage& reply)>;

    /// Begins; ready() or failed() follows.
    virtual void start() = 0;
    /// Ends everything; what it still has to tell comes before the end of the next flush().
    virtual void stop() = 0;
    /// \a request has the path, interface, member and arguments that a client chose.
    virtual void call(const QDBusMessage& request, Reply reply) = 0;
    /// \a done comes behind every signal that was caused before.
    virtual void flush(std::function<void()> done) = 0;

Q_SIGNALS:
    void ready();
    void failed(const QString& problem);
    /// It leaves the bus by itself, and comes back.
    void left();
    void returned();
    /// The name passes to another connection without a gap.
    void handedOver();
    /// A signal of the daemon's interface.
    void sent(const QDBusMessage& signal);
};

} // namespace bt

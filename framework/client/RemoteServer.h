#pragma once

#include "Outcome.h"
#include "bus/Names.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>
#include <QVariantList>

#include <chrono>
#include <functional>

namespace ipc {

/// The answer's first value; an answer of another shape reads as the type's default.
template <typename T>
T valueOf(const QDBusMessage& reply)
{
    return qdbus_cast<T>(reply.arguments().value(0));
}

QVariant variantOf(const QDBusMessage& reply);

Error noBus(const QDBusConnection& connection);

/// An answer that comes later, in its place among the signals that the server sends before and behind it. (A
/// QDBusPendingCallWatcher may tell of it behind signals that came after it.)
class PendingAnswer : public QObject
{
    Q_OBJECT
public:
    using Take = std::function<void(const QDBusMessage& reply)>;

    static void await(QDBusConnection connection, const QDBusMessage& question,
                      std::chrono::milliseconds timeout, QObject* context, Take take);

private Q_SLOTS:
    void replied(const QDBusMessage& reply);
    void failed(const QDBusError& error, const QDBusMessage& question);

private:
    PendingAnswer(QObject* context, Take take);

    Take m_take;
};

/// A server on a bus, as requests to it need it.
struct RemoteServer
{
    QString busName;
    QDBusConnection connection;
    std::chrono::milliseconds timeout;

    [[nodiscard]] QDBusMessage request(const QString& method, const QVariantList& arguments,
                                       const QString& interface = names::Interface) const;
    [[nodiscard]] QDBusMessage setting(const QString& item, const QVariant& value) const;
    /// Why there is no proper answer.
    [[nodiscard]] Error errorOf(const QDBusMessage& reply) const;

    /// Waits for the answer. @param read makes the result of it.
    template <typename Read>
    [[nodiscard]] auto ask(const QDBusMessage& question, Read read) const -> Outcome<decltype(read(question))>
    {
        const QDBusMessage reply = connection.call(question, QDBus::Block, static_cast<int>(timeout.count()));
        if (reply.type() != QDBusMessage::ReplyMessage) {
            return errorOf(reply);
        }
        return read(reply);
    }

    /// Does not wait. @param read makes the result of the answer.
    template <typename Read, typename Answered>
    void askLater(const QDBusMessage& question, QObject* context, Read read, const Answered& answered) const
    {
        const auto take = [server = *this, read, answered](const QDBusMessage& reply) {
            answered(reply.type() == QDBusMessage::ReplyMessage ? Outcome<decltype(read(reply))>(read(reply))
                                                                : server.errorOf(reply));
        };
        PendingAnswer::await(connection, question, timeout, context, take);
    }
};

} // namespace ipc

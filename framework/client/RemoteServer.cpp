#include "RemoteServer.h"

#include <QDBusConnectionInterface>

#include <utility>

namespace ipc {
namespace {

Error::Kind errorKind(const QDBusMessage& reply)
{
    const QString name = reply.errorName();
    if (name == names::NoSuchItem) {
        return Error::Kind::NoSuchItem;
    }
    if (name == names::AmbiguousItem) {
        return Error::Kind::Ambiguous;
    }
    if (name.startsWith(names::ErrorPrefix)) {
        return Error::Kind::Refused;
    }
    // What a bus daemon answers for an absent name that it was told not to start; QDBusError has no type for
    // it.
    if (name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) {
        return Error::Kind::NoServer;
    }
    switch (QDBusError(reply).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return Error::Kind::NoAnswer;
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
    case QDBusError::Disconnected:
        return Error::Kind::NoServer;
    default:
        return Error::Kind::Failed;
    }
}

} // namespace

PendingAnswer::PendingAnswer(QObject* context, Take take)
    : QObject(context)
    , m_take(std::move(take))
{
}

void PendingAnswer::await(QDBusConnection connection, const QDBusMessage& question,
                          std::chrono::milliseconds timeout, QObject* context, Take take)
{
    auto* answer = new PendingAnswer(context, std::move(take));
    const bool sent = connection.callWithCallback(question, answer, SLOT(replied(QDBusMessage)),
                                                  SLOT(failed(QDBusError, QDBusMessage)),
                                                  static_cast<int>(timeout.count()));
    if (!sent) {
        const QDBusError error(QDBusError::Disconnected, QString());
        QMetaObject::invokeMethod(
            answer, [answer, error, question] { answer->failed(error, question); }, Qt::QueuedConnection);
    }
}

void PendingAnswer::replied(const QDBusMessage& reply)
{
    deleteLater();
    m_take(reply);
}

void PendingAnswer::failed(const QDBusError& error, const QDBusMessage& question)
{
    replied(question.createErrorReply(error));
}

QVariant variantOf(const QDBusMessage& reply)
{
    return valueOf<QDBusVariant>(reply).variant();
}

Error noBus(const QDBusConnection& connection)
{
    return { Error::Kind::NoServer,
             QStringLiteral("there is no session bus (%1); DBUS_SESSION_BUS_ADDRESS has to name one")
                 .arg(connection.lastError().message()) };
}

QDBusMessage RemoteServer::request(const QString& method, const QVariantList& arguments,
                                   const QString& interface) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(busName, names::ObjectPath, interface, method);
    message.setArguments(arguments);
    // A server's name must not start anything: what is absent is told.
    message.setAutoStartService(false);
    return message;
}

QDBusMessage RemoteServer::setting(const QString& item, const QVariant& value) const
{
    return request(QStringLiteral("Set"), { item, QVariant::fromValue(QDBusVariant(value)) });
}

Error RemoteServer::errorOf(const QDBusMessage& reply) const
{
    const Error::Kind kind = errorKind(reply);
    if (!connection.isConnected()) {
        return noBus(connection);
    }
    if (kind == Error::Kind::NoServer) {
        return { kind, QStringLiteral("%1 is not on the session bus; start its server first").arg(busName) };
    }
    // The bus answers in the place of a server that ends during a call, under the same name as a
    // time-out.
    if (kind == Error::Kind::NoAnswer && !connection.interface()->isServiceRegistered(busName)) {
        return { kind, QStringLiteral("%1 left the bus before it answered").arg(busName) };
    }
    if (kind == Error::Kind::NoAnswer) {
        const double seconds = static_cast<double>(timeout.count()) / 1000.0;
        return { kind, QStringLiteral("%1 did not answer within %2 s").arg(busName).arg(seconds) };
    }
    return { kind, reply.errorMessage() };
}

} // namespace ipc

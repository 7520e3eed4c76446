#include "ScriptedDaemon.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusVariant>
#include <QUuid>

#include <algorithm>

namespace {

const QString Path = "/com/qarn/Bluetooth";
const QString Interface = "com.qarn.bluetooth";

} // namespace

ScriptedDaemon::ScriptedDaemon(const QString& busAddress)
    : m_connectionName(QUuid::createUuid().toString())
{
    moveToThread(&m_thread);
    m_thread.start();
    QDBusConnection::connectToBus(busAddress, m_connectionName)
        .registerVirtualObject(Path, this, QDBusConnection::SingleNode);
}

ScriptedDaemon::~ScriptedDaemon()
{
    QDBusConnection(m_connectionName).unregisterObject(Path);
    QDBusConnection::disconnectFromBus(m_connectionName);
    m_thread.quit();
    m_thread.wait();
}

bool ScriptedDaemon::handleMessage(const QDBusMessage& message, const QDBusConnection& connection)
{
    const QMutexLocker locker(&m_mutex);
    const bool isProperty = message.interface() == "org.freedesktop.DBus.Properties";
    if (isProperty && message.member() == "Get") {
        connection.send(replyToRead(message));
        return true;
    }
    if (!isProperty && message.interface() != Interface) {
        return false;
    }
    m_calls.append({ message.member(), message.signature(), message.arguments() });
    if (m_released != nullptr && !m_released->tryAcquire(1, 2000)) {
        m_wasWaitedFor = true;
    }
    connection.send(message.createReply());
    return true;
}

QDBusMessage ScriptedDaemon::replyToRead(const QDBusMessage& message)
{
    const QString property = message.arguments().value(1).toString();
    m_reads.append(property);
    QVariantList& values = m_answers[property];
    if (values.isEmpty()) {
        return message.createErrorReply(QDBusError::UnknownProperty, property);
    }
    const QVariant value = values.size() > 1 ? values.takeFirst() : values.first();
    return message.createReply(QVariant::fromValue(QDBusVariant(value)));
}

bool ScriptedDaemon::appear(const QString& name) const
{
    const auto reply = QDBusConnection(m_connectionName)
                           .interface()
                           ->registerService(name, QDBusConnectionInterface::ReplaceExistingService,
                                             QDBusConnectionInterface::AllowReplacement);
    return reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

void ScriptedDaemon::leave(const QString& name) const
{
    QDBusConnection(m_connectionName).unregisterService(name);
}

void ScriptedDaemon::answer(const QString& property, const QVariantList& values)
{
    const QMutexLocker locker(&m_mutex);
    m_answers.insert(property, values);
}

void ScriptedDaemon::answerWhen(QSemaphore* released)
{
    const QMutexLocker locker(&m_mutex);
    m_released = released;
}

bool ScriptedDaemon::wasWaitedFor() const
{
    const QMutexLocker locker(&m_mutex);
    return m_wasWaitedFor;
}

void ScriptedDaemon::send(const QString& signal, const QVariant& payload) const
{
    QDBusMessage message = QDBusMessage::createSignal(Path, Interface, signal);
    message << QVariant::fromValue(QDBusVariant(payload));
    QDBusConnection(m_connectionName).send(message);
}

bool ScriptedDaemon::roundTrip(const QString& connection)
{
    // The bus keeps the order of what goes from one connection to another, and so do QtDBus and the event
    // loops.
    const QDBusMessage ping =
        QDBusMessage::createMethodCall(connection, "/", "org.freedesktop.DBus.Peer", "Ping");
    const QDBusMessage pong = QDBusConnection(m_connectionName).call(ping);
    QMetaObject::invokeMethod(
        this, [] {}, Qt::BlockingQueuedConnection);
    return pong.type() == QDBusMessage::ReplyMessage;
}

QStringList ScriptedDaemon::connectionsOf(pid_t process) const
{
    const QDBusConnectionInterface& bus = *QDBusConnection(m_connectionName).interface();
    QStringList names = bus.registeredServiceNames();
    names.erase(std::remove_if(names.begin(), names.end(),
                               [&](const QString& name) {
                                   return !name.startsWith(':')
                                       || bus.servicePid(name) != static_cast<uint>(process);
                               }),
                names.end());
    return names;
}

QList<ScriptedDaemon::Call> ScriptedDaemon::takeCalls()
{
    const QMutexLocker locker(&m_mutex);
    return std::exchange(m_calls, {});
}

QStringList ScriptedDaemon::takeReads()
{
    const QMutexLocker locker(&m_mutex);
    return std::exchange(m_reads, {});
}

QString callText(const QList<ScriptedDaemon::Call>& calls)
{
    QStringList texts;
    for (const ScriptedDaemon::Call& call : calls) {
        QStringList words{ call.signature };
        for (const QVariant& argument : call.arguments) {
            words += argument.userType() == QMetaType::QString ? '"' + argument.toString() + '"'
                                                               : argument.toString();
        }
        texts += call.member + '(' + words.join(' ') + ')';
    }
    return texts.join(", ");
}

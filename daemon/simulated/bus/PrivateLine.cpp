#include "PrivateLine.h"

#include "DaemonNames.h"
#include "Radio.h"

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QUuid>

namespace bt {

namespace {

QString connectionName()
{
    return QStringLiteral("bluesim's own line");
}

/// The program's one server. It lives as long as the program: its destructor unlocks what QtDBus's own thread
/// may have deleted by then (seen with Qt 5.15: the program then never ends).
QDBusServer& ownServer()
{
    // Without a file that a killed program would leave behind. Other users are turned away.
    static auto* const server = new QDBusServer(QStringLiteral("unix:abstract=/bluesim-")
                                                + QUuid::createUuid().toString(QUuid::WithoutBraces));
    return *server;
}

} // namespace

PrivateLine::PrivateLine(Radio& radio)
    : m_radio(radio)
    , m_service(radio)
    , m_server(ownServer())
    , m_client(QString())
{
    connect(&m_server, &QDBusServer::newConnection, this, &PrivateLine::serve);
}

PrivateLine::~PrivateLine()
{
    QDBusConnection::disconnectFromPeer(connectionName());
}

void PrivateLine::start()
{
    m_client = QDBusConnection::connectToPeer(m_server.address(), connectionName());
    if (!m_client.isConnected()) {
        Q_EMIT failed(
            QStringLiteral("no connection inside the program: %1").arg(m_client.lastError().message()));
        return;
    }
    m_client.connect(QString(), daemonPath(), daemonService(), QString(), this, SIGNAL(sent(QDBusMessage)));
}

void PrivateLine::serve(QDBusConnection connection)
{
    if (!connection.registerObject(daemonPath(), &m_service)) {
        Q_EMIT failed(QStringLiteral("the object %1 cannot be served").arg(daemonPath()));
        return;
    }
    m_radio.start();
    flush([this] { Q_EMIT ready(); });
}

void PrivateLine::stop()
{
    m_radio.stop();
}

void PrivateLine::call(const QDBusMessage& request, Reply reply)
{
    QDBusMessage own =
        QDBusMessage::createMethodCall(QString(), request.path(), request.interface(), request.member());
    own.setArguments(request.arguments());
    auto* watcher = new QDBusPendingCallWatcher(m_client.asyncCall(own), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, reply] {
        reply(watcher->reply());
        watcher->deleteLater();
    });
}

void PrivateLine::flush(std::function<void()> done)
{
    call(QDBusMessage::createMethodCall(QString(), daemonPath(), QStringLiteral("org.freedesktop.DBus.Peer"),
                                        QStringLiteral("Ping")),
         [done](const QDBusMessage&) { done(); });
}

} // namespace bt

#include "LocalDaemon.h"

#include "DaemonNames.h"
#include "Radio.h"

#include <QDBusAbstractAdaptor>
#include <QDBusError>
#include <QMetaMethod>

namespace bt {

namespace {

QString connectionName()
{
    return QStringLiteral("bluesim's own line");
}

} // namespace

LocalDaemon::LocalDaemon(Radio& radio)
    : m_service(radio)
    , m_line(QString())
{
    // Here, and not by the adaptor to the bus: whoever serves the daemon there sends them.
    QObject::disconnect(&m_service, nullptr, m_service.findChild<QDBusAbstractAdaptor*>(), nullptr);
    const QMetaMethod slot = staticMetaObject.method(staticMetaObject.indexOfSlot("relay(QDBusVariant)"));
    const QMetaObject& type = DaemonService::staticMetaObject;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        if (QMetaObject::checkConnectArgs(type.method(i), slot)) {
            connect(&m_service, type.method(i), this, slot);
        }
    }
}

LocalDaemon::~LocalDaemon()
{
    QDBusConnection::disconnectFromBus(connectionName());
}

base::Result<> LocalDaemon::serve()
{
    m_line = QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName());
    if (!m_line.registerObject(daemonPath(), &m_service)) {
        return base::error(
            QStringLiteral("no connection inside the program: %1").arg(m_line.lastError().message()));
    }
    return {};
}

QDBusMessage LocalDaemon::answer(const QDBusMessage& request) const
{
    QDBusMessage own = QDBusMessage::createMethodCall(m_line.baseService(), request.path(),
                                                      request.interface(), request.member());
    own.setArguments(request.arguments());
    return m_line.call(own);
}

void LocalDaemon::relay(const QDBusVariant& value)
{
    const QMetaMethod signal = m_service.metaObject()->method(senderSignalIndex());
    Q_EMIT sent(QString::fromLatin1(signal.name()), { QVariant::fromValue(value) });
}

} // namespace bt

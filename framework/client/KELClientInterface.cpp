#include "KELClientInterface.h"

#include "KnownItems.h"
#include "bus/Names.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QHash>
#include <QPointer>
#include <QRegularExpression>

#include <limits>

namespace names = ipc::names;

using ipc::ClientError;
using ipc::Done;
using ipc::ItemRecords;
using ipc::Outcome;
using ipc::Snapshot;

namespace {

ClientError::Kind errorKind(const QDBusMessage& reply)
{
    const QString name = reply.errorName();
    if (name == names::NoSuchItem) {
        return ClientError::Kind::NoSuchItem;
    }
    if (name == names::AmbiguousItem) {
        return ClientError::Kind::Ambiguous;
    }
    if (name.startsWith(names::ErrorPrefix)) {
        return ClientError::Kind::Refused;
    }
    // What a bus daemon answers for an absent name that it was told not to start; QDBusError has no type for
    // it.
    if (name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) {
        return ClientError::Kind::NoServer;
    }
    switch (QDBusError(reply).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return ClientError::Kind::NoAnswer;
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
    case QDBusError::Disconnected:
        return ClientError::Kind::NoServer;
    default:
        return ClientError::Kind::Failed;
    }
}

/// After so many signals a client asks whether it has had them all: the last ones that were lost leave no gap
/// that shows. A bus that drops some has delivered more than these before, if they are large.
constexpr qulonglong SignalsUnasked = 64;

/// The answer's first value; an answer of another shape reads as the type's default.
template <typename T>
T valueOf(const QDBusMessage& reply)
{
    return qdbus_cast<T>(reply.arguments().value(0));
}

QVariant variantOf(const QDBusMessage& reply)
{
    return valueOf<QDBusVariant>(reply).variant();
}

QString noBus(const QDBusConnection& connection)
{
    return QStringLiteral("there is no session bus (%1); DBUS_SESSION_BUS_ADDRESS has to name one")
        .arg(connection.lastError().message());
}

} // namespace

class KELClientInterface::Private
{
public:
    Private(QString name, QDBusConnection bus)
        : busName(std::move(name))
        , connection(std::move(bus))
    {
    }

    [[nodiscard]] QDBusMessage request(const QString& method, const QVariantList& arguments,
                                       const QString& interface = names::Interface) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(busName, names::ObjectPath, interface, method);
        message.setArguments(arguments);
        // A server's name must not start anything: what is absent is told.
        message.setAutoStartService(false);
        return message;
    }

    [[nodiscard]] QDBusMessage setting(const QString& item, const QVariant& value) const
    {
        return request(QStringLiteral("Set"), { item, QVariant::fromValue(QDBusVariant(value)) });
    }

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

    [[nodiscard]] ClientError errorOf(const QDBusMessage& reply) const
    {
        const ClientError::Kind kind = errorKind(reply);
        if (!connection.isConnected()) {
            return { ClientError::Kind::NoServer, noBus(connection) };
        }
        if (kind == ClientError::Kind::NoServer) {
            return { kind,
                     QStringLiteral("%1 is not on the session bus; start its server first").arg(busName) };
        }
        // The bus answers in the place of a server that ends during a call, under the same name as a
        // time-out.
        if (kind == ClientError::Kind::NoAnswer && !connection.interface()->isServiceRegistered(busName)) {
            return { kind, QStringLiteral("%1 left the bus before it answered").arg(busName) };
        }
        if (kind == ClientError::Kind::NoAnswer) {
            const double seconds = static_cast<double>(timeout.count()) / 1000.0;
            return { kind, QStringLiteral("%1 did not answer within %2 s").arg(busName).arg(seconds) };
        }
        return { kind, reply.errorMessage() };
    }

    [[nodiscard]] Outcome<Snapshot> snapshot(const QString& method, const QStringList& patterns) const
    {
        return ask(request(method, { patterns }), snapshotOf);
    }

    static Snapshot snapshotOf(const QDBusMessage& reply)
    {
        return { valueOf<qulonglong>(reply), qdbus_cast<ItemRecords>(reply.arguments().value(1)) };
    }

    /// Asks without waiting. What was asked before is forgotten.
    template <typename Read>
    void askLater(const QDBusMessage& question, Read read)
    {
        pending = std::make_unique<QDBusPendingCallWatcher>(
            connection.asyncCall(question, static_cast<int>(timeout.count())));
        QObject::connect(pending.get(), &QDBusPendingCallWatcher::finished, pending.get(),
                         [this, read](QDBusPendingCallWatcher* watcher) {
                             pending.release()->deleteLater();
                             if (!watcher->isError()) {
                                 read(snapshotOf(watcher->reply()));
                             }
                         });
    }

    QString busName;
    QDBusConnection connection;
    std::chrono::milliseconds timeout = DefaultTimeout;
    qulonglong lastSerial = 0;
    bool isWatching = false;
    bool isCatchingUp = false;
    ipc::KnownItems known;
    std::unique_ptr<QDBusPendingCallWatcher> pending;
    std::unique_ptr<QDBusServiceWatcher> presence;
};

KELClientInterface* KELClientInterface::getSessionBusClient(const QString& busName, QObject* parent)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(busName)) {
        return nullptr;
    }
    static QHash<QString, QPointer<KELClientInterface>> clients;
    QPointer<KELClientInterface>& client = clients[busName];
    if (!client) {
        client = new KELClientInterface(busName, bus, parent ? parent : QCoreApplication::instance());
    }
    return client;
}

KELClientInterface::KELClientInterface(const QString& busName, const QDBusConnection& connection,
                                       QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(busName, connection))
{
    ipc::registerItemRecordTypes();
}

KELClientInterface::~KELClientInterface() = default;

Outcome<QStringList> KELClientInterface::servers(const QDBusConnection& connection)
{
    if (!connection.isConnected()) {
        return ClientError{ ClientError::Kind::NoServer, noBus(connection) };
    }
    QStringList found = connection.interface()->registeredServiceNames().value();
    found = found.filter(QRegularExpression(QStringLiteral("^tov\\.base\\.")));
    found.sort();
    return found;
}

QString KELClientInterface::busName() const
{
    return d->busName;
}

std::chrono::milliseconds KELClientInterface::timeout() const
{
    return d->timeout;
}

void KELClientInterface::setTimeout(std::chrono::milliseconds timeout)
{
    d->timeout = timeout;
}

Outcome<QStringList> KELClientInterface::modules() const
{
    const QVariantList property{ QString(names::Interface), QStringLiteral("Modules") };
    return d->ask(
        d->request(QStringLiteral("Get"), property, QStringLiteral("org.freedesktop.DBus.Properties")),
        [](const QDBusMessage& reply) { return variantOf(reply).toStringList(); });
}

Outcome<Snapshot> KELClientInterface::list(const QStringList& patterns) const
{
    return d->snapshot(QStringLiteral("List"), patterns);
}

Outcome<QVariant> KELClientInterface::get(const QString& item) const
{
    return d->ask(d->request(QStringLiteral("Get"), { item }), variantOf);
}

Outcome<QVariantMap> KELClientInterface::describe(const QString& item) const
{
    return d->ask(d->request(QStringLiteral("Describe"), { item }), valueOf<QVariantMap>);
}

Outcome<Done> KELClientInterface::set(const QString& item, const QVariant& value) const
{
    return d->ask(d->setting(item, value), [](const QDBusMessage&) { return Done(); });
}

Outcome<QString> KELClientInterface::trigger(const QString& action, const QString& text) const
{
    return d->ask(d->request(QStringLiteral("Trigger"), { action, text }), valueOf<QString>);
}

void KELClientInterface::setItem(const QString& item, const QVariant& value) const
{
    d->connection.send(d->setting(item, value));
}

Outcome<Snapshot> KELClientInterface::watch(const QStringList& patterns)
{
    // First the subscription, then the snapshot: what arrives in between is told apart by its serial.
    if (!d->isWatching) {
        d->isWatching = true;
        d->connection.connect(d->busName, names::ObjectPath, names::Interface, QStringLiteral("Changed"),
                              this, SLOT(onChanged(qulonglong, ipc::ItemRecords)));
        d->presence = std::make_unique<QDBusServiceWatcher>(d->busName, d->connection);
        connect(d->presence.get(), &QDBusServiceWatcher::serviceUnregistered, this, [this] {
            // A new server counts anew; nothing of it is told before it is watched.
            d->lastSerial = std::numeric_limits<qulonglong>::max();
            Q_EMIT serverLeft();
        });
        connect(d->presence.get(), &QDBusServiceWatcher::serviceRegistered, this,
                &KELClientInterface::serverReturned);
    }
    d->pending.reset();
    Outcome<Snapshot> snapshot = d->snapshot(QStringLiteral("Watch"), patterns);
    if (snapshot) {
        d->lastSerial = snapshot->serial;
        d->known.take(snapshot->items);
    }
    return snapshot;
}

void KELClientInterface::onChanged(qulonglong serial, const ItemRecords& items)
{
    if (serial <= d->lastSerial) {
        return;
    }
    if (serial != d->lastSerial + 1) {
        return catchUp();
    }
    d->lastSerial = serial;
    d->known.take(items);
    Q_EMIT changed(items);
    if (serial % SignalsUnasked == 0 && !d->pending) {
        askForSerial();
    }
}

void KELClientInterface::askForSerial()
{
    d->isCatchingUp = false;
    const QStringList nothing{ QStringLiteral(":") }; // no item's name
    d->askLater(d->request(QStringLiteral("List"), { nothing }), [this](const Snapshot& present) {
        // The signals that it counts stand before the answer.
        if (present.serial != d->lastSerial) {
            catchUp();
        }
    });
}

void KELClientInterface::catchUp()
{
    if (d->pending && d->isCatchingUp) {
        return;
    }
    d->isCatchingUp = true;
    d->askLater(d->request(QStringLiteral("Watch"), { QStringList() }), [this](const Snapshot& present) {
        d->lastSerial = present.serial;
        if (const ItemRecords missed = d->known.take(present.items); !missed.isEmpty()) {
            Q_EMIT changed(missed);
        }
    });
}

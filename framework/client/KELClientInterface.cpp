#include "KELClientInterface.h"

#include "RemoteServer.h"
#include "bus/Names.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QPointer>
#include <QRegularExpression>

#include <algorithm>
#include <limits>
#include <utility>

namespace names = ipc::names;

using ipc::ClientError;
using ipc::Done;
using ipc::ItemRecords;
using ipc::Outcome;
using ipc::Snapshot;

namespace {

/// After so many signals a client asks whether it has had them all: the last ones that were lost leave no gap
/// that shows. A bus that drops some has delivered more than these before, if they are large.
constexpr qulonglong SignalsUnasked = 64;

Snapshot snapshotOf(const QDBusMessage& reply)
{
    return { ipc::valueOf<qulonglong>(reply), qdbus_cast<ItemRecords>(reply.arguments().value(1)) };
}

QString textOf(const QDBusMessage& reply)
{
    return ipc::valueOf<QString>(reply);
}

QVariantMap mapOf(const QDBusMessage& reply)
{
    return ipc::valueOf<QVariantMap>(reply);
}

Done doneOf(const QDBusMessage& /*reply*/)
{
    return {};
}

} // namespace

class KELClientInterface::Private : public ipc::RemoteServer
{
public:
    /// Every serial is old: a new server counts anew, and nothing of it is told before it is watched.
    static constexpr qulonglong NotWatched = std::numeric_limits<qulonglong>::max();

    Private(const QString& name, const QDBusConnection& bus)
        : RemoteServer{ name, bus, DefaultTimeout }
    {
    }

    /// Takes over what is new of these items, as far as they are watched. @return what differs from before
    ItemRecords learn(const ItemRecords& items)
    {
        ItemRecords differing;
        for (const ipc::ItemRecord& record : items) {
            const auto item = known.find(record.address);
            if (item == known.end()) {
                continue;
            }
            QVariantMap news;
            for (const QString& key : { QStringLiteral("value"), QStringLiteral("text"),
                                        QStringLiteral("symbol"), QStringLiteral("applicable") }) {
                const auto now = record.properties.constFind(key);
                if (now != record.properties.constEnd() && std::exchange((*item)[key], *now) != *now) {
                    news.insert(key, *now);
                }
            }
            if (!news.isEmpty()) {
                differing << ipc::ItemRecord{ record.address, news };
            }
        }
        return differing;
    }

    qulonglong lastSerial = NotWatched;
    qulonglong newestSerial = 0; ///< that was seen, told or not
    QStringList watched; ///< the patterns of the last watch()
    QHash<QString, QVariantMap> known; ///< what the watched items are, as it was told
    bool isCatchingUp = false;
    bool isWatching = false;
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
}

KELClientInterface::~KELClientInterface() = default;

Outcome<QStringList> KELClientInterface::servers(const QDBusConnection& connection)
{
    if (!connection.isConnected()) {
        return ipc::noBus(connection);
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
        [](const QDBusMessage& reply) { return ipc::variantOf(reply).toStringList(); });
}

Outcome<Snapshot> KELClientInterface::list(const QStringList& patterns) const
{
    return d->ask(d->request(QStringLiteral("List"), { patterns }), snapshotOf);
}

void KELClientInterface::list(const QStringList& patterns, QObject* context,
                              const Answered<Snapshot>& answered) const
{
    d->askLater(d->request(QStringLiteral("List"), { patterns }), context, snapshotOf, answered);
}

Outcome<QVariant> KELClientInterface::get(const QString& item) const
{
    return d->ask(d->request(QStringLiteral("Get"), { item }), ipc::variantOf);
}

void KELClientInterface::get(const QString& item, QObject* context, const Answered<QVariant>& answered) const
{
    d->askLater(d->request(QStringLiteral("Get"), { item }), context, ipc::variantOf, answered);
}

Outcome<QVariantMap> KELClientInterface::describe(const QString& item) const
{
    return d->ask(d->request(QStringLiteral("Describe"), { item }), mapOf);
}

void KELClientInterface::describe(const QString& item, QObject* context,
                                  const Answered<QVariantMap>& answered) const
{
    d->askLater(d->request(QStringLiteral("Describe"), { item }), context, mapOf, answered);
}

Outcome<Done> KELClientInterface::set(const QString& item, const QVariant& value) const
{
    return d->ask(d->setting(item, value), doneOf);
}

void KELClientInterface::set(const QString& item, const QVariant& value, QObject* context,
                             const Answered<Done>& answered) const
{
    d->askLater(d->setting(item, value), context, doneOf, answered);
}

Outcome<QString> KELClientInterface::trigger(const QString& action, const QString& text) const
{
    return d->ask(d->request(QStringLiteral("Trigger"), { action, text }), textOf);
}

void KELClientInterface::trigger(const QString& action, const QString& text, QObject* context,
                                 const Answered<QString>& answered) const
{
    d->askLater(d->request(QStringLiteral("Trigger"), { action, text }), context, textOf, answered);
}

void KELClientInterface::setItem(const QString& item, const QVariant& value) const
{
    d->connection.send(d->setting(item, value));
}

// First the subscription, then the snapshot: what arrives in between is told apart by its serial.
void KELClientInterface::subscribe()
{
    if (std::exchange(d->isWatching, true)) {
        return;
    }
    d->connection.connect(d->busName, names::ObjectPath, names::Interface, QStringLiteral("Changed"), this,
                          SLOT(onChanged(qulonglong, ipc::ItemRecords)));
    d->presence = std::make_unique<QDBusServiceWatcher>(d->busName, d->connection);
    connect(d->presence.get(), &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        d->lastSerial = Private::NotWatched;
        Q_EMIT serverLeft();
    });
    connect(d->presence.get(), &QDBusServiceWatcher::serviceRegistered, this,
            &KELClientInterface::serverReturned);
}

void KELClientInterface::adopt(const QStringList& patterns, const Snapshot& snapshot)
{
    d->watched = patterns;
    d->lastSerial = snapshot.serial;
    d->newestSerial = snapshot.serial;
    d->known.clear();
    for (const ipc::ItemRecord& record : snapshot.items) {
        d->known.insert(record.address, record.properties);
    }
}

Outcome<Snapshot> KELClientInterface::watch(const QStringList& patterns)
{
    subscribe();
    Outcome<Snapshot> snapshot = d->ask(d->request(QStringLiteral("Watch"), { patterns }), snapshotOf);
    if (snapshot) {
        adopt(patterns, *snapshot);
    }
    return snapshot;
}

void KELClientInterface::watch(const QStringList& patterns, QObject* context,
                               const Answered<Snapshot>& answered)
{
    subscribe();
    // Adopted before the next signal is delivered, also when the caller is not interested any more.
    d->askLater(
        d->request(QStringLiteral("Watch"), { patterns }), this, snapshotOf,
        [this, patterns, answered, caller = QPointer<QObject>(context)](const Outcome<Snapshot>& snapshot) {
            if (snapshot) {
                adopt(patterns, *snapshot);
            }
            if (caller) {
                answered(snapshot);
            }
        });
}

void KELClientInterface::onChanged(qulonglong serial, const ItemRecords& items)
{
    if (serial <= d->lastSerial) {
        return;
    }
    d->newestSerial = std::max(d->newestSerial, serial);
    if (d->isCatchingUp) {
        return; // it is in the snapshot that comes
    }
    if (serial != d->lastSerial + 1) {
        catchUp();
        return;
    }
    d->lastSerial = serial;
    d->learn(items);
    Q_EMIT changed(items);
    if (serial % SignalsUnasked == 0) {
        askForSerial();
    }
}

void KELClientInterface::askForSerial()
{
    const QStringList nothing{ QStringLiteral(":") }; // no item's name
    d->askLater(d->request(QStringLiteral("List"), { nothing }), this, snapshotOf,
                [this](const Outcome<Snapshot>& present) {
                    // The signals that it counts stand before the answer.
                    if (present && present->serial > d->newestSerial && !d->isCatchingUp) {
                        catchUp();
                    }
                });
}

// The bus drops signals for a client that does not read them, and QtDBus delivers what came before the event
// loop ran behind what comes then.
void KELClientInterface::catchUp()
{
    d->isCatchingUp = true;
    d->askLater(d->request(QStringLiteral("Watch"), { d->watched }), this, snapshotOf,
                [this](const Outcome<Snapshot>& snapshot) {
                    d->isCatchingUp = false;
                    if (!snapshot || d->lastSerial == Private::NotWatched) {
                        return; // the next signal shows the gap again, or the server is gone
                    }
                    d->lastSerial = snapshot->serial;
                    const ItemRecords differing = d->learn(snapshot->items);
                    if (!differing.isEmpty()) {
                        Q_EMIT changed(differing);
                    }
                    if (d->newestSerial > d->lastSerial) {
                        catchUp();
                    }
                });
}

#pragma once

#include "IpcExport.h"
#include "ItemRecord.h"
#include "Outcome.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>

namespace ipc {

/// Why a request to a server failed.
using ClientError = Error;

/// A server's items as they stand after the change signal with this serial.
struct Snapshot
{
    qulonglong serial = 0;
    ItemRecords items; ///< in the order in which the modules created them
};

} // namespace ipc

/// A client of one server on the session bus. The calls that return an Outcome wait for the server, at most
/// as long as timeout() says; those that take a function, and setItem(), do not wait.
class IPC_EXPORT KELClientInterface : public QObject
{
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds DefaultTimeout{ 10'000 };

    /// The client for a server, by its bus name ("tov.base.sync_mobile_app"). Null when the server is not on
    /// the bus. Clients are shared, one for each name, and stay the property of this class: callers neither
    /// keep nor delete them. Without a parent the client lives as long as the application.
    static KELClientInterface* getSessionBusClient(const QString& busName, QObject* parent);

    /// A client of the caller's own, whether or not the server is there. @param connection where it looks.
    KELClientInterface(const QString& busName, const QDBusConnection& connection, QObject* parent = nullptr);
    ~KELClientInterface() override;

    /// The names ("tov.base.…") of the servers on a bus, sorted.
    static ipc::Outcome<QStringList> servers(const QDBusConnection& connection);

    [[nodiscard]] QString busName() const;
    [[nodiscard]] std::chrono::milliseconds timeout() const;
    void setTimeout(std::chrono::milliseconds timeout);

    [[nodiscard]] ipc::Outcome<QStringList> modules() const;
    /// Items are named by full address, "module:id", "id", each with ":INDEX" for an instance.
    [[nodiscard]] ipc::Outcome<ipc::Snapshot> list(const QStringList& patterns = {}) const;
    [[nodiscard]] ipc::Outcome<QVariant> get(const QString& item) const;
    [[nodiscard]] ipc::Outcome<QVariantMap> describe(const QString& item) const;
    [[nodiscard]] ipc::Outcome<ipc::Done> set(const QString& item, const QVariant& value) const;
    [[nodiscard]] ipc::Outcome<QString> trigger(const QString& action, const QString& text) const;

    /// The same without waiting: \a answered is called by the event loop, once, unless \a context is gone by
    /// then. What the server told before it answered has been told by changed() when it is called, what came
    /// later has not.
    template <typename Value>
    using Answered = std::function<void(const ipc::Outcome<Value>& outcome)>;
    void list(const QStringList& patterns, QObject* context, const Answered<ipc::Snapshot>& answered) const;
    void get(const QString& item, QObject* context, const Answered<QVariant>& answered) const;
    void describe(const QString& item, QObject* context, const Answered<QVariantMap>& answered) const;
    void set(const QString& item, const QVariant& value, QObject* context,
             const Answered<ipc::Done>& answered) const;
    void trigger(const QString& action, const QString& text, QObject* context,
                 const Answered<QString>& answered) const;

    /// Writes an item without waiting for the answer, which is dropped.
    void setItem(const QString& item, const QVariant& value) const;

    /// The items as they are now; from here on changed() reports what differs, with no gap in between.
    /// Signals that the bus dropped, for this client did not read them in time, show by their serials: the
    /// items are watched anew, and what differs by then is reported in the same way. A server that leaves and
    /// comes back is announced by serverLeft() and serverReturned(); after the latter, watch again.
    [[nodiscard]] ipc::Outcome<ipc::Snapshot> watch(const QStringList& patterns = {});
    void watch(const QStringList& patterns, QObject* context, const Answered<ipc::Snapshot>& answered);

Q_SIGNALS:
    /// What changed in one turn of the server's event loop: of each item the new ones of "value", "text" and
    /// "applicable"; a value that changed and came back counts as new. All items of the server, whatever the
    /// patterns of watch() were.
    void changed(const ipc::ItemRecords& items);
    void serverLeft();
    void serverReturned();

private Q_SLOTS:
    void onChanged(qulonglong serial, const ipc::ItemRecords& items);

private:
    void subscribe();
    void adopt(const QStringList& patterns, const ipc::Snapshot& snapshot);
    void askForSerial();
    void catchUp();

    class Private;
    std::unique_ptr<Private> d;
};

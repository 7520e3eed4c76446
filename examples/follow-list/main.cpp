// Shows the items of a server that match a pattern, and then each of their changes, until it is stopped.
//
//     $ follow_list tov.base.bluetoothlauncher 'pairlist*'

#include <ipc/KELClientInterface.h>

#include <QCoreApplication>
#include <QHash>

#include <cstdio>

namespace {

class FollowedList
{
public:
    FollowedList(const QString& server, QStringList patterns)
        : m_client(server, QDBusConnection::sessionBus())
        , m_patterns(std::move(patterns))
    {
        QObject::connect(&m_client, &KELClientInterface::changed, &m_client,
                         [this](const ipc::ItemRecords& items) { update(items); });
        // A server that was started again has to be asked again: what it tells then counts anew.
        QObject::connect(&m_client, &KELClientInterface::serverReturned, &m_client, [this] { begin(); });
        QObject::connect(&m_client, &KELClientInterface::serverLeft, &m_client,
                         [this] { std::printf("%s left\n", qPrintable(m_client.busName())); });
    }

    /// The present state; what changes afterwards comes by itself. Nothing waits: a window would stay alive.
    void begin()
    {
        m_client.watch(m_patterns, &m_client, [this](const ipc::Outcome<ipc::Snapshot>& snapshot) {
            if (!snapshot) {
                std::fprintf(stderr, "follow_list: %s\n", qPrintable(snapshot.error().message));
                return QCoreApplication::exit(1);
            }
            m_items.clear();
            for (const ipc::ItemRecord& item : snapshot->items) {
                m_items.insert(item.address, item.properties);
                show(item.address);
            }
        });
    }

private:
    void update(const ipc::ItemRecords& items)
    {
        for (const ipc::ItemRecord& item : items) {
            // Changes of all the server's items arrive; the snapshot says which of them are in the list.
            const auto known = m_items.find(item.address);
            if (known == m_items.end()) {
                continue;
            }
            // A change brings the new properties alone.
            for (auto property = item.properties.begin(); property != item.properties.end(); ++property) {
                known->insert(property.key(), property.value());
            }
            show(item.address);
        }
    }

    void show(const QString& address) const
    {
        const QVariantMap item = m_items.value(address);
        std::printf("%s %s%s\n", qPrintable(address), qPrintable(item.value("value").toString()),
                    item.value("applicable").toBool() ? "" : " (does not apply now)");
    }

    KELClientInterface m_client;
    QStringList m_patterns;
    QHash<QString, QVariantMap> m_items; ///< properties by address
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) {
        std::fputs("usage: follow_list BUS-NAME [PATTERN...]\n", stderr);
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // each change at once, also into a pipe
    FollowedList list(arguments[1], arguments.mid(2));
    list.begin();
    return QCoreApplication::exec();
}

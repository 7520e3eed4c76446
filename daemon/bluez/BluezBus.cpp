#include "BluezBus.h"

#include <QDBusError>
#include <QFileInfo>
#include <QUrl>

#include <chrono>

namespace bt {

namespace {

using namespace std::chrono_literals;

const QString Name = QStringLiteral("bluez");
const QString UnixPath = QStringLiteral("unix:path=");

// A bus that makes its socket listens there a moment later; one that does not by then is no bus.
constexpr auto FirstPause = 100ms;
constexpr auto LongestPause = 5s;

QString givenAddress()
{
    for (const char* variable : { "BLUEZ_SYSTEM_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS" }) {
        if (!qEnvironmentVariableIsEmpty(variable)) {
            return qEnvironmentVariable(variable);
        }
    }
    return UnixPath + QStringLiteral("/run/dbus/system_bus_socket");
}

} // namespace

BluezBus::BluezBus()
    : m_address(givenAddress())
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (connectToIt()) {
            Q_EMIT joined();
        } else if (const auto next = m_pause.intervalAsDuration() * 2; next < LongestPause) {
            m_pause.start(next);
        }
    });
    connect(&m_folder, &QFileSystemWatcher::directoryChanged, this, [this] {
        watchForIt();
        if (!m_pause.isActive() || m_pause.intervalAsDuration() > FirstPause) { // also in a busy folder
            m_pause.start(FirstPause);
        }
    });
}

QDBusConnection BluezBus::connection()
{
    return QDBusConnection(Name);
}

bool BluezBus::isWatched() const
{
    return m_address.startsWith(UnixPath);
}

void BluezBus::join()
{
    if (connectToIt()) {
        Q_EMIT joined();
    } else {
        Q_EMIT failed(connection().lastError().message());
        watchForIt();
        m_pause.start(FirstPause); // it may have its socket, and not listen yet
    }
}

bool BluezBus::connectToIt()
{
    QDBusConnection::disconnectFromBus(Name);
    QDBusConnection bus = QDBusConnection::connectToBus(m_address, Name);
    if (bus.isConnected()) {
        watch({});
        bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                    QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                    SLOT(leave()));
    }
    return bus.isConnected();
}

void BluezBus::leave()
{
    Q_EMIT lost();
    watchForIt();
    m_pause.start(FirstPause); // it may be back already
}

void BluezBus::watchForIt()
{
    if (!isWatched()) {
        return;
    }
    const QString escaped = m_address.mid(UnixPath.size()).section(QLatin1Char(','), 0, 0);
    QFileInfo folder(QFileInfo(QUrl::fromPercentEncoding(escaped.toLatin1())).path());
    while (!folder.exists() && !folder.isRoot()) {
        folder = QFileInfo(folder.path());
    }
    watch({ folder.filePath() });
}

void BluezBus::watch(const QStringList& folders)
{
    if (!m_folder.directories().isEmpty()) {
        m_folder.removePaths(m_folder.directories());
    }
    if (!folders.isEmpty()) {
        m_folder.addPaths(folders);
    }
}

} // namespace bt

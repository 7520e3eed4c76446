#pragma once

#include <QDBusConnection>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

namespace bt {

/// The bus of bluetoothd, of $BLUEZ_SYSTEM_BUS_ADDRESS where that is another than our clients'. One that
/// ends, or is not there yet, is joined when it is: a connection of Qt's does not come back by itself.
class BluezBus : public QObject
{
    Q_OBJECT

public:
    BluezBus();

    /// Waits for the bus's own greeting, as every connection does.
    void join();
    /// Whether it is noticed when it comes, however late: its address is the path of a socket.
    [[nodiscard]] bool isWatched() const;
    [[nodiscard]] bool isJoined() const { return connection().isConnected(); }
    [[nodiscard]] static QDBusConnection connection();

Q_SIGNALS:
    void joined();
    void failed(const QString& why);
    /// Nothing that was made with the connection hears anything any more.
    void lost();

private Q_SLOTS:
    void leave();

private:
    [[nodiscard]] bool connectToIt();
    void watchForIt();
    void watch(const QStringList& folders);

    QString m_address;
    QFileSystemWatcher m_folder; ///< of the bus's socket
    QTimer m_pause;
};

} // namespace bt

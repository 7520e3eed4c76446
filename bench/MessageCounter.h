#pragma once

#include <QByteArray>
#include <QLocalServer>
#include <QLocalSocket>

#include <memory>

/// Stands between one client and its bus and counts the signals that the client sends.
class MessageCounter : public QObject
{
    Q_OBJECT
public:
    /// @param countedSocket where the client connects. @return whether it can.
    bool start(const QString& busSocket, const QString& countedSocket);

    /// Takes the client off the bus.
    void close() { m_bus.abort(); }

    qint64 messages = 0;
    qint64 bytes = 0;

private:
    void accept();
    void count(const QByteArray& sent);

    QString m_busSocket;
    QLocalSocket m_bus;
    QLocalServer m_server; ///< ends first, and with it the client, which closes the bus
    QLocalSocket* m_client = nullptr; ///< owned by the server
    QByteArray m_uncounted; ///< the begin of a message whose rest has not arrived
    bool m_isAuthenticated = false;
};

#include "MessageCounter.h"

#include <QtEndian>

namespace {

// D-Bus messages begin with 16 fixed bytes, the last four of which are the length of the header's fields.
constexpr int FixedLength = 16;
constexpr int TypePosition = 1;
constexpr int BodyLengthPosition = 4;
constexpr int FieldsLengthPosition = 12;
constexpr char SignalType = 4;
const QByteArray AuthenticationEnd("BEGIN\r\n");

int lengthAt(const QByteArray& message, int position)
{
    return static_cast<int>(qFromLittleEndian<quint32>(message.constData() + position));
}

} // namespace

bool MessageCounter::start(const QString& busSocket, const QString& countedSocket)
{
    m_busSocket = busSocket;
    connect(&m_server, &QLocalServer::newConnection, this, &MessageCounter::accept);
    return m_server.listen(countedSocket);
}

void MessageCounter::accept()
{
    if (m_client != nullptr) {
        m_client->disconnect(this); // its end is none of the new client's
    }
    m_client = m_server.nextPendingConnection();
    m_isAuthenticated = false;
    m_uncounted.clear();
    m_bus.disconnect(this);
    m_bus.abort();
    m_bus.connectToServer(m_busSocket);
    connect(&m_bus, &QLocalSocket::readyRead, this, [this] { m_client->write(m_bus.readAll()); });
    connect(m_client, &QLocalSocket::readyRead, this, [this] {
        const QByteArray sent = m_client->readAll();
        m_bus.write(sent);
        count(sent);
    });
    connect(m_client, &QLocalSocket::disconnected, this, [this] { m_bus.abort(); });
}

void MessageCounter::count(const QByteArray& sent)
{
    m_uncounted += sent;
    if (!m_isAuthenticated) {
        const int end = m_uncounted.indexOf(AuthenticationEnd);
        if (end < 0) {
            return;
        }
        m_isAuthenticated = true;
        m_uncounted.remove(0, end + AuthenticationEnd.size());
    }
    int at = 0;
    while (m_uncounted.size() - at >= FixedLength) {
        const QByteArray header = m_uncounted.mid(at, FixedLength);
        const int fields = (lengthAt(header, FieldsLengthPosition) + 7) / 8 * 8;
        const int length = FixedLength + fields + lengthAt(header, BodyLengthPosition);
        if (m_uncounted.size() - at < length) {
            break;
        }
        if (header[TypePosition] == SignalType) {
            ++messages;
            bytes += length;
        }
        at += length;
    }
    m_uncounted.remove(0, at);
}

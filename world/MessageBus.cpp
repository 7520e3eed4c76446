#include "MessageBus.h"

#include <QDir>
#include <QFile>

#include <array>
#include <cerrno>

namespace world {

namespace {

QString kindName(MessageBus::Kind kind)
{
    return kind == MessageBus::Kind::System ? QStringLiteral("system") : QStringLiteral("session");
}

/// No <servicedir>: nothing is started behind our back. The limits are those of a session bus: one client
/// may have as many requests open as a load test wants. Only what waits for one that does not read stays far
/// below what one sender may have on its way, 127 MB: at that the bus would stop reading from the sender, and
/// everybody would wait for the one. docs/porting.md asks it of a device's bus too.
QByteArray configuration(const QString& kind, const QString& socket)
{
    return QStringLiteral(
               "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\"\n"
               " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
               "<busconfig>\n"
               "  <type>%1</type>\n"
               "  <listen>unix:path=%2</listen>\n"
               "  <auth>EXTERNAL</auth>\n"
               "  <policy context=\"default\">\n"
               "    <allow user=\"*\"/>\n"
               "    <allow own=\"*\"/>\n"
               "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
               "    <allow eavesdrop=\"true\"/>\n"
               "  </policy>\n"
               "  <limit name=\"max_outgoing_bytes\">16000000</limit>\n"
               "  <limit name=\"max_connections_per_user\">100000</limit>\n"
               "  <limit name=\"max_match_rules_per_connection\">50000</limit>\n"
               "  <limit name=\"max_replies_per_connection\">50000</limit>\n"
               "</busconfig>\n")
        .arg(kind, socket.toHtmlEscaped())
        .toUtf8();
}

/// A path as D-Bus addresses spell it: everything but the plain characters as %XX.
QString escaped(const QString& path)
{
    return QString::fromLatin1(QFile::encodeName(path).toPercentEncoding("/\\*", "~"));
}

base::Result<> writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size()
        || !file.flush()) {
        return base::error(QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString()));
    }
    return {};
}

/// The first line, or what came before the other end was closed.
QByteArray readLine(int fd)
{
    QByteArray line;
    std::array<char, 512> part{};
    while (!line.contains('\n')) {
        const ssize_t got = read(fd, part.data(), part.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        line.append(part.data(), static_cast<int>(got));
    }
    return line.left(line.indexOf('\n'));
}

} // namespace

MessageBus::~MessageBus()
{
    stop();
}

base::Result<> MessageBus::start(Kind kind, const QString& folder, int output)
{
    const QString name = kindName(kind);
    m_socket = QDir(folder).absoluteFilePath(name + QStringLiteral(".bus"));
    m_configuration = QDir(folder).absoluteFilePath(name + QStringLiteral(".conf"));
    if (QFile::encodeName(m_socket).size() > LongestSocketPath) {
        return base::error(
            QStringLiteral("%1 is too long for a socket, whose path may have %2 bytes; use a shorter folder")
                .arg(m_socket)
                .arg(LongestSocketPath));
    }
    if (auto written = writeFile(m_configuration, configuration(name, escaped(m_socket))); !written) {
        return written;
    }
    Pipe address = Pipe::create();
    Command command;
    command.arguments =
        QStringList{ QStringLiteral("dbus-daemon"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                     QStringLiteral("--config-file=%1").arg(m_configuration),
                     QStringLiteral("--print-address=%1").arg(address.writing.get()) };
    command.output = output;
    command.inherited = { address.writing.get() };
    const auto started = m_daemon.start(command);
    address.writing.reset();
    if (!started) {
        return base::error(
            QStringLiteral("dbus-daemon cannot be started: %1; it is in the package \"dbus-daemon\"")
                .arg(started.error().text));
    }
    m_address = QString::fromLocal8Bit(readLine(address.reading.get()));
    if (m_address.isEmpty()) {
        m_daemon.end();
        return base::error(
            QStringLiteral("the %1 bus did not start: dbus-daemon ended before it listened at %2")
                .arg(name, m_socket));
    }
    return {};
}

void MessageBus::stop()
{
    m_daemon.end();
    m_address.clear();
    for (const QString& file : { m_socket, m_configuration }) {
        if (!file.isEmpty()) {
            QFile::remove(file);
        }
    }
}

} // namespace world

#include "ModuleWorld.h"

#include "Patience.h"
#include "client/ExpectedValue.h"

#include <QFile>

#include <algorithm>

ModuleWorld::ModuleWorld(const world::PrivateFilesystem& filesystem)
    : m_filesystem(filesystem)
    , m_world(filesystem)
{
}

QString ModuleWorld::start()
{
    if (const auto started = m_world.start(); !started) {
        return started.error().text;
    }
    m_daemon = std::make_unique<ScriptedDaemon>(m_world.systemBusAddress());
    m_client =
        std::make_unique<KELClientInterface>("tov.base.bluetoothlauncher", QDBusConnection::sessionBus());
    m_client->setTimeout(std::chrono::milliseconds(Patience::Usual));
    return {};
}

/// A host that hangs is waited for once.
template <typename Answer>
Answer ModuleWorld::noted(Answer answer) const
{
    if (!answer && answer.error().kind == ipc::ClientError::Kind::NoAnswer) {
        m_client->setTimeout(std::chrono::milliseconds(Patience::Least));
    }
    return answer;
}

QVariant ModuleWorld::value(const QString& item) const
{
    const auto value = noted(m_client->get(item));
    return value ? *value : QVariant();
}

QVariant ModuleWorld::property(const QString& item, const QString& name) const
{
    const auto found = noted(m_client->list({ "bluetooth:" + item }));
    return found && found->items.size() == 1 ? found->items.first().properties.value(name) : QVariant();
}

bool ModuleWorld::isApplicable(const QString& item) const
{
    return property(item, "applicable").toBool();
}

QString ModuleWorld::write(const QString& item, const QVariant& value) const
{
    const auto done = noted(m_client->set(item, value));
    return done ? QString() : item + ": " + done.error().message;
}

QString ModuleWorld::trigger(const QString& action, const QString& text) const
{
    const auto reply = noted(m_client->trigger(action, text));
    return reply ? *reply : reply.error().message;
}

bool ModuleWorld::daemonAppears()
{
    return m_daemon->appear() && settle();
}

bool ModuleWorld::daemonLeaves()
{
    m_daemon->leave();
    return settle();
}

bool ModuleWorld::settle()
{
    return settle(*m_daemon);
}

bool ModuleWorld::settle(ScriptedDaemon& daemon)
{
    // There: what the daemon sent waits for the host. Through the host: it has been worked off, and its
    // writes to other servers are on their way. Back: what it asked the daemon for has come, and what it
    // wrote to this process.
    if (!hostAnswers(daemon) || !noted(m_client->modules()) || !hostAnswers(daemon)) {
        return false;
    }
    QCoreApplication::processEvents();
    return true;
}

bool ModuleWorld::hostAnswers(ScriptedDaemon& daemon)
{
    const pid_t host = m_world.hostPid();
    if (m_connectionsOwner != host) {
        m_hostConnections = daemon.connectionsOf(host);
        m_connectionsOwner = host;
    }
    return !m_hostConnections.isEmpty()
        && std::all_of(m_hostConnections.begin(), m_hostConnections.end(),
                       [&](const QString& connection) { return daemon.roundTrip(connection); });
}

QString ModuleWorld::difference(const QString& item, const QVariant& expected) const
{
    const auto found = noted(m_client->get(item));
    if (!found) {
        return found.error().message;
    }
    if (*found == expected) {
        return {};
    }
    const auto described = m_client->describe(item);
    const QVariantMap description = described ? *described : QVariantMap();
    const QString texts =
        QString("%1: expected %2, found %3")
            .arg(item, ipc::shownValue(description, expected), ipc::shownValue(description, *found));
    return expected.userType() == found->userType()
        ? texts
        : texts + QString(" (%1, not %2)").arg(found->typeName(), expected.typeName());
}

QString ModuleWorld::applicabilityDifference(const QString& item, bool expected) const
{
    const QVariant found = property(item, "applicable");
    if (found.isValid() && found.toBool() == expected) {
        return {};
    }
    return QString("%1: expected that it %2").arg(item, expected ? "applies" : "does not apply");
}

int ModuleWorld::countInOutput(const QString& line) const
{
    return m_world.output().split('\n').count(line);
}

QList<pid_t> ModuleWorld::hostChildren() const
{
    QFile file(QString("/proc/%1/task/%1/children").arg(m_world.hostPid()));
    QList<pid_t> children;
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> pids = file.readAll().simplified().split(' ');
        for (const QByteArray& pid : pids) {
            if (!pid.isEmpty()) {
                children.append(pid.toInt());
            }
        }
    }
    return children;
}

bool isZombie(pid_t pid)
{
    QFile file(QString("/proc/%1/stat").arg(pid));
    return file.open(QIODevice::ReadOnly) && file.readAll().contains(") Z ");
}

QList<ControllerRun> controllerRuns()
{
    QFile file("/tmp/controller.runs");
    QList<ControllerRun> runs;
    if (!file.open(QIODevice::ReadOnly)) {
        return runs;
    }
    QList<QByteArray> records = file.readAll().split('\x1e');
    records.removeLast(); // behind the last separator
    for (const QByteArray& record : records) {
        QList<QByteArray> fields = record.split('\x1f');
        const QByteArray kind = fields.takeFirst();
        const pid_t pid = fields.takeFirst().toInt();
        if (kind == "start") {
            const int parentDeathSignal = fields.takeFirst().toInt();
            const bool blocked = fields.takeFirst() == "1";
            runs.append({ pid, fields, parentDeathSignal, blocked, false });
        }
        for (ControllerRun& run : runs) {
            run.ended = run.ended || (kind == "end" && run.pid == pid);
        }
    }
    return runs;
}

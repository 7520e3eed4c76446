#include "ModuleWorld.h"

#include <QFile>

ModuleWorld::ModuleWorld(const world::PrivateFilesystem& filesystem)
    : m_filesystem(filesystem)
    , m_world(filesystem)
{
}

QString ModuleWorld::start()
{
    QString problem = m_world.start();
    if (!problem.isEmpty())
        return problem;
    m_daemon = std::make_unique<ScriptedDaemon>(m_world.systemBusAddress());
    m_client = std::make_unique<KELClientInterface>(QStringLiteral("tov.base.bluetoothlauncher"),
                                                    QDBusConnection::sessionBus());
    return {};
}

QVariant ModuleWorld::value(const QString& item) const
{
    const auto value = m_client->get(item);
    return value ? *value : QVariant();
}

QVariant ModuleWorld::property(const QString& item, const QString& name) const
{
    const auto found = m_client->list({ QStringLiteral("bluetooth:") + item });
    return found && found->items.size() == 1 ? found->items.first().properties.value(name) : QVariant();
}

bool ModuleWorld::isApplicable(const QString& item) const
{
    return property(item, QStringLiteral("applicable")).toBool();
}

bool ModuleWorld::set(const QString& item, const QVariant& value) const
{
    return static_cast<bool>(m_client->set(item, value));
}

QString ModuleWorld::trigger(const QString& action, const QString& text) const
{
    const auto reply = m_client->trigger(action, text);
    return reply ? *reply : QStringLiteral("?");
}

bool ModuleWorld::daemonAppears()
{
    m_daemon->answer(QStringLiteral("confirmationCode"), { QStringLiteral("appeared") });
    if (!m_daemon->appear())
        return false;
    // Everything of the registration happens in one turn of the host, so that the next answer comes after it.
    return QTest::qWaitFor(
        [this] { return text(QStringLiteral("confirmationcode")) == QStringLiteral("appeared"); });
}

bool ModuleWorld::daemonLeaves()
{
    m_daemon->leave();
    return QTest::qWaitFor([this] { return !isApplicable(QStringLiteral("scan")); });
}

bool ModuleWorld::settle()
{
    const QString fence = QString::number(++m_fence);
    m_daemon->send(QStringLiteral("confirmationCodeChanged"), fence);
    return QTest::qWaitFor([&] { return text(QStringLiteral("confirmationcode")) == fence; });
}

int ModuleWorld::countInOutput(const QString& line) const
{
    return m_world.output().split(QLatin1Char('\n')).count(line);
}

QList<pid_t> ModuleWorld::hostChildren() const
{
    QFile file(QStringLiteral("/proc/%1/task/%1/children").arg(m_world.hostPid()));
    QList<pid_t> children;
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> pids = file.readAll().simplified().split(' ');
        for (const QByteArray& pid : pids) {
            if (!pid.isEmpty())
                children.append(pid.toInt());
        }
    }
    return children;
}

bool isZombie(pid_t pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    return file.open(QIODevice::ReadOnly) && file.readAll().contains(") Z ");
}

QList<ControllerRun> controllerRuns()
{
    QFile file(QStringLiteral("/tmp/controller.runs"));
    QList<ControllerRun> runs;
    if (!file.open(QIODevice::ReadOnly))
        return runs;
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
        for (ControllerRun& run : runs)
            run.ended = run.ended || (kind == "end" && run.pid == pid);
    }
    return runs;
}

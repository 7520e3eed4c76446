#include "ItemctlFixture.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QSignalSpy>

namespace {

constexpr int PatienceMilliseconds = 30'000;

} // namespace

QString ItemctlFixture::start()
{
    QString error = m_bus.start(world::MessageBus::Kind::Session, m_folder.path());
    if (!error.isEmpty())
        return error;
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toUtf8());
    return startServer(QStringLiteral("demo"), QStringLiteral("mod"))
        ? QString()
        : QStringLiteral("the server did not come");
}

void ItemctlFixture::stop()
{
    for (const QString& server : m_servers.keys())
        endServer(server);
    m_bus.stop();
}

bool ItemctlFixture::startServer(const QString& server, const QString& module)
{
    QDBusServiceWatcher watcher(QStringLiteral("tov.base.") + server, QDBusConnection::sessionBus(),
                                QDBusServiceWatcher::WatchForRegistration);
    QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
    const auto process = std::make_shared<QProcess>();
    m_servers.insert(server, process);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(QStringLiteral(ITEM_TEST_SERVER), { server, m_folder.filePath(server), module });
    return registered.wait(PatienceMilliseconds);
}

void ItemctlFixture::endServer(const QString& server)
{
    const auto process = m_servers.take(server);
    process->kill();
    process->waitForFinished(PatienceMilliseconds);
}

QString ItemctlFixture::itemctlPath()
{
    return QStringLiteral(ITEMCTL);
}

std::unique_ptr<QProcess> ItemctlFixture::startItemctl(const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    process->start(itemctlPath(), arguments);
    return process;
}

Finished ItemctlFixture::finish(QProcess& process)
{
    Finished finished;
    // A process whose end was noticed already is not waited for again: that would fail.
    const bool ended =
        process.state() == QProcess::NotRunning || process.waitForFinished(PatienceMilliseconds);
    if (ended && process.exitStatus() == QProcess::NormalExit)
        finished.status = process.exitCode();
    finished.out = QString::fromUtf8(process.readAllStandardOutput());
    finished.err = QString::fromUtf8(process.readAllStandardError());
    return finished;
}

Finished ItemctlFixture::itemctl(const QStringList& arguments)
{
    return finish(*startItemctl(arguments));
}

int ItemctlFixture::watchers()
{
    const QDBusMessage reply = QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Debug.Stats"), QStringLiteral("GetAllMatchRules")));
    int count = 0;
    const auto rules = qdbus_cast<QMap<QString, QStringList>>(reply.arguments().value(0));
    for (const QStringList& ofOne : rules)
        count += ofOne.filter(QStringLiteral(",arg2=''")).size();
    return count;
}

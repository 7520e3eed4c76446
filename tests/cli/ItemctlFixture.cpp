#include "ItemctlFixture.h"
#include "support/Patience.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QTest>

void ItemctlFixture::initTestCase()
{
    QCOMPARE(m_servers.startBus(), QString());
    QVERIFY(m_servers.start());
}

void ItemctlFixture::succeed(const QStringList& arguments)
{
    const Finished finished = itemctl(arguments);
    QVERIFY2(finished.status == 0, qPrintable(finished.err));
}

void ItemctlFixture::tellsAsTheRowSays()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, err);
    const Finished finished = itemctl(arguments);
    QTEST(finished.out, "out");
    QVERIFY2(err.isEmpty() ? finished.err.isEmpty() : finished.err.contains(err), qPrintable(finished.err));
    // A reason is one line that says who speaks.
    QVERIFY(finished.err.isEmpty()
            || (finished.err.startsWith("itemctl: ") && finished.err.count('\n') <= 2));
    QTEST(finished.status, "status");
}

std::unique_ptr<QProcess> ItemctlFixture::startItemctl(const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    process->start(ITEMCTL, arguments);
    return process;
}

std::unique_ptr<QProcess> ItemctlFixture::startWatching(const QStringList& arguments)
{
    auto process = startItemctl(arguments);
    if (!Patience::waitFor([] { return watchers() == 1; })) {
        return nullptr;
    }
    // The server answers in order: with this answer, that to the watcher is on its way as well. The bus
    // may notice later that whoever asked has left.
    const bool isAnswered =
        itemctl({ "get", "state" }).status == 0 && Patience::waitFor([] { return watchers() == 1; });
    return isAnswered ? std::move(process) : nullptr;
}

Finished ItemctlFixture::finish(QProcess& process)
{
    if (!Patience::waitFor([&process] { return process.state() == QProcess::NotRunning; })) {
        process.kill();
    }
    return ::finish(process);
}

int ItemctlFixture::rules(const QString& part)
{
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules"));
    int count = 0;
    const auto rules = qdbus_cast<QMap<QString, QStringList>>(reply.arguments().value(0));
    for (const QStringList& ofOne : rules) {
        count += ofOne.filter(part).size();
    }
    return count;
}

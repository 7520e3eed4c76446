#include "ItemctlFixture.h"

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

std::unique_ptr<QProcess> ItemctlFixture::startItemctl(const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    process->start(ITEMCTL, arguments);
    return process;
}

int ItemctlFixture::watchers()
{
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules"));
    int count = 0;
    const auto rules = qdbus_cast<QMap<QString, QStringList>>(reply.arguments().value(0));
    for (const QStringList& ofOne : rules) {
        count += ofOne.filter(",arg2=''").size();
    }
    return count;
}

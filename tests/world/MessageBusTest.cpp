#include "world/MessageBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using world::MessageBus;

class MessageBusTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void bothKindsCarryNames();
    void endsWithTheObject();
    void foldersWithOddNames_data();
    void foldersWithOddNames();
    void saysWhatIsWrong_data();
    void saysWhatIsWrong();
};

namespace {

QString parentFolder()
{
    return QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm/bus-XXXXXX")
                                                     : QStringLiteral("/var/tmp/bus-XXXXXX");
}

bool takesName(const QString& address, const QString& name)
{
    const bool taken = QDBusConnection::connectToBus(address, address).registerService(name);
    QDBusConnection::disconnectFromBus(address);
    return taken;
}

} // namespace

void MessageBusTest::bothKindsCarryNames()
{
    const QTemporaryDir folder(parentFolder());
    MessageBus system;
    MessageBus session;
    QCOMPARE(system.start(MessageBus::Kind::System, folder.path()), QString());
    QCOMPARE(session.start(MessageBus::Kind::Session, folder.path()), QString());
    QVERIFY(system.address() != session.address());
    QVERIFY(takesName(system.address(), QStringLiteral("com.example.one")));
    QVERIFY(takesName(session.address(), QStringLiteral("com.example.one")));
}

void MessageBusTest::endsWithTheObject()
{
    const QTemporaryDir folder(parentFolder());
    pid_t daemon = 0;
    {
        MessageBus bus;
        QCOMPARE(bus.start(MessageBus::Kind::Session, folder.path()), QString());
        daemon = bus.pid();
        QCOMPARE(kill(daemon, 0), 0);
    }
    QVERIFY(kill(daemon, 0) != 0);
    QVERIFY(QDir(folder.path()).isEmpty());
}

void MessageBusTest::foldersWithOddNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blank") << "a b";
    QTest::newRow("separators of an address") << "a,b;c=d%41";
    QTest::newRow("markup") << "a<&>\"b";
    QTest::newRow("not ASCII") << QStringLiteral("g\u00e4ste~1");
}

void MessageBusTest::foldersWithOddNames()
{
    QFETCH(QString, name);
    const QTemporaryDir folder(parentFolder());
    QVERIFY(QDir(folder.path()).mkdir(name));
    MessageBus bus;
    QCOMPARE(bus.start(MessageBus::Kind::Session, folder.filePath(name)), QString());
    QVERIFY(takesName(bus.address(), QStringLiteral("com.example.one")));
}

void MessageBusTest::saysWhatIsWrong_data()
{
    QTest::addColumn<QString>("inside");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QString>("expected");
    QTest::newRow("no daemon") << "" << QByteArray("/nonexistent") << "in the package \"dbus-daemon\"";
    QTest::newRow("no folder") << "missing" << qgetenv("PATH") << "missing/session.conf cannot be written";
    QTest::newRow("long path") << QString(100, 'x') << qgetenv("PATH") << "use a shorter folder";
}

void MessageBusTest::saysWhatIsWrong()
{
    QFETCH(QString, inside);
    QFETCH(QByteArray, path);
    QFETCH(QString, expected);
    const QTemporaryDir folder(parentFolder());
    const QByteArray before = qgetenv("PATH");
    qputenv("PATH", path);
    MessageBus bus;
    const QString problem = bus.start(MessageBus::Kind::Session, folder.filePath(inside));
    qputenv("PATH", before);
    QVERIFY2(problem.contains(expected), qPrintable(problem));
    QVERIFY(bus.address().isEmpty());
}

QTEST_GUILESS_MAIN(MessageBusTest)
#include "MessageBusTest.moc"

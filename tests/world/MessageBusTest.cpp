#include "MessageBus.h"
#include "support/ProblemOf.h"
#include "support/Rows.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using world::MessageBus;

namespace {

QString parentFolder()
{
    return QDir("/dev/shm").exists() ? "/dev/shm/bus-XXXXXX" : "/var/tmp/bus-XXXXXX";
}

bool takesName(const QString& address, const QString& name)
{
    const bool taken = QDBusConnection::connectToBus(address, address).registerService(name);
    QDBusConnection::disconnectFromBus(address);
    return taken;
}

} // namespace

class MessageBusTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void foldersWithOddNames_data()
    {
        const Rows<QString> row("name");
        row("blank", "a b");
        row("separators of an address", "a,b;c=d%41");
        row("markup", "a<&>\"b");
        row("not ASCII", "g\u00e4ste~1");
    }

    void foldersWithOddNames()
    {
        QFETCH(QString, name);
        const QTemporaryDir folder(parentFolder());
        QVERIFY(QDir(folder.path()).mkdir(name));
        MessageBus bus;
        QCOMPARE(problemOf(bus.start(MessageBus::Kind::Session, folder.filePath(name))), QString());
        QVERIFY(takesName(bus.address(), "com.example.one"));
    }

    void saysWhatIsWrong_data()
    {
        const Rows<QString, QByteArray, QString> row("inside", "path", "expected");
        row("no daemon", "", "/nonexistent", "in the package \"dbus-daemon\"");
        row("no folder", "missing", qgetenv("PATH"), "missing/session.conf cannot be written");
        row("long path", QString(100, 'x'), qgetenv("PATH"), "use a shorter folder");
    }

    void saysWhatIsWrong()
    {
        QFETCH(QString, inside);
        QFETCH(QByteArray, path);
        QFETCH(QString, expected);
        const QTemporaryDir folder(parentFolder());
        const QByteArray before = qgetenv("PATH");
        qputenv("PATH", path);
        MessageBus bus;
        const QString problem = problemOf(bus.start(MessageBus::Kind::Session, folder.filePath(inside)));
        qputenv("PATH", before);
        QVERIFY2(problem.contains(expected), qPrintable(problem));
        QVERIFY(bus.address().isEmpty());
    }
};

QTEST_GUILESS_MAIN(MessageBusTest)
#include "MessageBusTest.moc"

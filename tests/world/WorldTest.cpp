#include "Mechanisms.h"

#include "ServerReadiness.h"
#include "World.h"
#include "support/PrivateView.h"
#include "support/ProblemOf.h"
#include "support/Rows.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QTest>

#include <csignal>

namespace {

bool isGone(pid_t pid)
{
    return kill(pid, 0) != 0;
}

bool hostHasName(const QString& address)
{
    const QString connection = "WorldTest";
    const bool has = QDBusConnection::connectToBus(address, connection)
                         .interface()
                         ->isServiceRegistered(world::hostName());
    QDBusConnection::disconnectFromBus(connection);
    return has;
}

} // namespace

/// The world as a test program has it: inside this very process.
class WorldTest : public QObject
{
    Q_OBJECT

public:
    explicit WorldTest(const world::PrivateFilesystem& filesystem)
        : m_filesystem(filesystem)
    {
    }

private Q_SLOTS:
    void init() { qunsetenv("STAND_IN_HOST"); }

    void saysWhyTheHostIsNotReady_data()
    {
        const Rows<QByteArray, QString, QString, QString> row("behaviour", "host", "expected", "said");
        const QString standIn = besideTest("stand_in_host");
        row("fails", "fails", standIn, "ended with status 3", "configs cannot be read");
        row("hangs", "hangs", standIn, "did not take its name", "state in");
        row("missing", "", "/nonexistent/host", "/nonexistent/host cannot be started", "");
    }

    void saysWhyTheHostIsNotReady()
    {
        QFETCH(QByteArray, behaviour);
        QFETCH(QString, host);
        QFETCH(QString, expected);
        QFETCH(QString, said);
        qputenv("STAND_IN_HOST", behaviour);
        world::World world(m_filesystem);
        world::WorldOptions options;
        options.host = host;
        options.limit = std::chrono::milliseconds(behaviour == "hangs" ? 500 : 30'000);
        world::ChildProcess limit;
        QVERIFY(limit.start({ { "sleep", "10" } }));
        options.cancel = limit.descriptor();
        const QString problem = problemOf(world.start(options));
        QVERIFY2(problem.contains(expected), qPrintable(problem));
        QTRY_VERIFY(world.output().contains(said));
    }

    void hostCanBeRestarted()
    {
        world::World world(m_filesystem);
        QCOMPARE(problemOf(world.start(withStandIn())), QString());
        const pid_t before = world.hostPid();
        QCOMPARE(problemOf(world.restartHost()), QString());
        QVERIFY(world.hostPid() != before);
        QVERIFY(isGone(before));
        QVERIFY(hostHasName(world.sessionBusAddress()));
        QVERIFY2(world.output().contains("host: shut down in order"), qPrintable(world.output()));

        kill(world.hostPid(), SIGKILL);
        QTRY_VERIFY(!world.hostRuns());
        QCOMPARE(problemOf(world.restartHost()), QString());
        QVERIFY(hostHasName(world.sessionBusAddress()));
    }

private:
    [[nodiscard]] static world::WorldOptions withStandIn()
    {
        world::WorldOptions options;
        options.host = besideTest("stand_in_host");
        return options;
    }

    const world::PrivateFilesystem& m_filesystem;
};

int main(int argc, char** argv)
{
    return runInPrivateView("/bin/true", argc, argv, [&](const world::PrivateFilesystem& filesystem) {
        WorldTest test(filesystem);
        return QTest::qExec(&test, argc, argv);
    });
}

#include "WorldTest.moc"

// Modules beside Bluetooth in one host: what they share, and what becomes of the others when one of them
// fails.
#include "World.h"
#include "client/KELClientInterface.h"
#include "support/PrivateView.h"
#include "support/ProblemOf.h"
#include "support/Programs.h"
#include "support/Rows.h"

#include <QFile>
#include <QTest>

#include <csignal>
#include <utility>

class HostModulesTest : public QObject
{
    Q_OBJECT

public:
    explicit HostModulesTest(world::World& world)
        : m_world(world)
    {
    }

private Q_SLOTS:
    void init()
    {
        qunsetenv("TRIAL_MODULE");
        QCOMPARE(problemOf(m_world.restartHost()), QString());
    }

    void itemsStandInOneTree()
    {
        const Finished list = run("itemctl", { "list", "*:myname", "*:brightness", "*:watts", "*:level" });
        for (const char* item :
             { ":config:bluetoothlauncher:bluetooth:myname:", ":config:bluetoothlauncher:lamp:brightness:",
               ":result:bluetoothlauncher:lamp:watts:", ":config:bluetoothlauncher:trial:level:" }) {
            QVERIFY2(list.out.contains(item), qPrintable(list.out + list.err));
        }
        QVERIFY(run("itemctl", { "servers" }).out.contains("bluetooth lamp trial"));
        // Each module is asked for its own items alone.
        QVERIFY(m_client.set("brightness", 80));
        QCOMPARE(text("watts"), QString("8"));
        QVERIFY(m_client.trigger("lamp:off", {}));
        QCOMPARE(text("brightness"), QString("0"));
    }

    void saysWhatIsWrongWithAFile_data()
    {
        const Rows<QStringList, QString> row("modules", "message");
        row("a symbol that nothing has", { MISSING_SYMBOL }, "undefined symbol: _Z19operationOfTomorrow");
        row("another soname", { WRONG_SONAME }, "libipc.so.2: cannot open shared object file");
        row("twice the same", { LAMP, LAMP }, R"(both have a module named "lamp")");
        row("the last of several", { LAMP, "/nonexistent.so" }, R"(no module file "/nonexistent.so")");
    }

    void saysWhatIsWrongWithAFile()
    {
        QFETCH(const QStringList, modules);
        QFETCH(const QString, message);
        QStringList arguments{ "--state", "/tmp/other" };
        for (const QString& module : modules) {
            arguments << "--module" << module;
        }
        const Finished host = run("bluetoothlauncher", arguments);
        QCOMPARE(host.status, 1);
        QVERIFY2(host.err.contains(message), qPrintable(host.err));
        QVERIFY2(host.err.contains(modules.constLast()), qPrintable(host.err));
        QVERIFY(!QFile::exists("/tmp/other"));
    }

    void servesAllOrNothing_data()
    {
        const Rows<QByteArray, QString> row("fault", "message");
        row("throws", "throws", R"(made no module: it threw "the bulb is broken")");
        row("throws a number", "throws what is nothing",
            "made no module: it threw what is no std::exception");
        row("makes none", "makes none", R"(its "createModule" returned none)");
        row("a name that is taken", "named bluetooth", R"(both have a module named "bluetooth")");
        row("a name with a colon", "named a:b", R"(names its module "a:b")");
        row("no name", "named ", R"(names its module "")");
        row("throws when loaded", "throws when loaded", R"(failed: it threw "the bulb is broken")");
    }

    void servesAllOrNothing()
    {
        QFETCH(const QByteArray, fault);
        QFETCH(const QString, message);
        QVERIFY(m_client.set("myname", "before " + fault));
        QVERIFY(m_client.list({})); // brings all changes to an end before it answers
        const QByteArray before = configs();
        qputenv("TRIAL_MODULE", fault);
        const QString problem = problemOf(m_world.restartHost());
        QVERIFY2(problem.contains("ended with status 1"), qPrintable(problem));
        QVERIFY2(newOutput().contains(message), qPrintable(m_world.output()));
        QCOMPARE(configs(), before);
    }

    void faultsLoseNothing_data()
    {
        const Rows<QByteArray, int, QString> row("fault", "status", "message");
        row("an action that throws", "throws in an action", -1, "");
        row("an action that throws a number", "throws a number", 1, "it threw what is no std::exception");
        row("a timer", "throws later", 1, R"(the module "trial" failed: it threw "the bulb is broken")");
        row("a crash", "crashes", 128 + SIGABRT, "");
        row("at the end", "throws at the end", 1, R"(failed: it threw "the bulb is broken")");
    }

    void faultsLoseNothing()
    {
        QFETCH(const QByteArray, fault);
        QFETCH(const int, status);
        QFETCH(const QString, message);
        qputenv("TRIAL_MODULE", fault);
        QCOMPARE(problemOf(m_world.restartHost()), QString());
        QVERIFY(m_client.set("myname", QString(fault)));
        QVERIFY(m_client.set("brightness", 33));
        const auto answer = m_client.trigger("trial:fail", {});
        if (status < 0) {
            QVERIFY(!answer && answer.error().message.contains("failed: the bulb is broken"));
            QVERIFY(m_world.hostRuns());
        }
        if (fault == "throws at the end") {
            kill(m_world.hostPid(), SIGTERM);
        }
        if (status >= 0) {
            QTRY_VERIFY(!m_world.hostRuns());
            QVERIFY2(newOutput().contains(message), qPrintable(m_world.output()));
        }
        qunsetenv("TRIAL_MODULE");
        QCOMPARE(problemOf(m_world.restartHost()), QString());
        QCOMPARE(text("myname"), QString(fault));
        QCOMPARE(text("brightness"), QString("33"));
    }

private:
    [[nodiscard]] QString text(const QString& item) const
    {
        const auto value = m_client.get(item);
        return value ? value->toString() : value.error().message;
    }
    [[nodiscard]] QByteArray configs() const
    {
        QFile file(m_world.stateFolder() + "/bluetoothlauncher.json");
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QString newOutput()
    {
        const QString all = m_world.output();
        return all.mid(std::exchange(m_seen, all.size()));
    }

    world::World& m_world;
    KELClientInterface m_client{ "tov.base.bluetoothlauncher", QDBusConnection::sessionBus() };
    int m_seen = 0;
};

int main(int argc, char** argv)
{
    return runInPrivateView("/bin/true", argc, argv, [&](const world::PrivateFilesystem& filesystem) {
        world::World world(filesystem);
        world::WorldOptions options;
        options.modules = QStringList{ LAMP, TRIAL_MODULE };
        const auto started = world.start(options);
        if (!started) {
            std::fprintf(stderr, "%s\n%s\n", qPrintable(problemOf(started)), qPrintable(world.output()));
            return 1;
        }
        HostModulesTest test(world);
        return QTest::qExec(&test, argc, argv);
    });
}

#include "HostModulesTest.moc"

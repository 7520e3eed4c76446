// A bus ends under the host: it says so and leaves, with every config stored, and its successor goes on. The
// companion does the same.
#include "ChildProcess.h"
#include "ModuleWorld.h"
#include "ServerReadiness.h"
#include "support/PrivateBus.h"
#include "support/Rows.h"

#include <QDir>
#include <QTemporaryDir>

#include <csignal>

#include <fcntl.h>

namespace {

const QString ClientName = "client";

std::unique_ptr<KELClientInterface> connectTo(const QString& address, const QString& server)
{
    return std::make_unique<KELClientInterface>(server, QDBusConnection::connectToBus(address, ClientName));
}

} // namespace

class BusLossTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hostEndsWithABus_data()
    {
        const Rows<QString, int> row("name", "signal");
        row("system bus, in order", "system", SIGTERM);
        row("system bus, killed", "system", SIGKILL);
        row("session bus, in order", "session", SIGTERM);
        row("session bus, killed", "session", SIGKILL);
    }

    void hostEndsWithABus()
    {
        QFETCH(const QString, name);
        QFETCH(const int, signal);
        QVERIFY(startBuses());
        QVERIFY(startHost());
        auto client = connectTo(m_sessionBus.address(), world::hostName());
        QVERIFY(client->set("pinreplycfg", "4711"));
        QVERIFY(client->set("enabled", true));
        QTRY_COMPARE(controllerRuns().size(), 1);
        ScriptedDaemon daemon(m_systemBus.address());
        daemon.answer("status", { 3 });
        QVERIFY(daemon.appear());
        QTRY_COMPARE(client->get("status").operator bool() ? client->get("status")->toInt() : -1, 3);

        QCOMPARE(kill(name == "system" ? m_systemBus.pid() : m_sessionBus.pid(), signal), 0);
        QVERIFY2(endsSaying("bluetoothlauncher: the " + name + " bus has ended"), qPrintable(said()));
        QTRY_VERIFY(controllerRuns().constFirst().ended); // by the kernel, behind the host
        stopBuses();

        QVERIFY(startBuses());
        QVERIFY(startHost());
        client = connectTo(m_sessionBus.address(), world::hostName());
        QCOMPARE(*client->get("pinreplycfg"), QVariant("4711"));
        QCOMPARE(*client->get("enabled"), QVariant(true));
        QTRY_COMPARE(controllerRuns().size(), 2);
    }

    void companionEndsWithItsBus()
    {
        QVERIFY(startBuses());
        QVERIFY(start({ world::World::binFolder() + "/sync_mobile_app", m_folder.filePath("state") }));
        const auto client = connectTo(m_sessionBus.address(), "tov.base.sync_mobile_app");
        QTRY_VERIFY(client->modules());
        QCOMPARE(kill(m_sessionBus.pid(), SIGTERM), 0);
        QVERIFY2(endsSaying("sync_mobile_app: the session bus has ended"), qPrintable(said()));
    }

    void cleanup()
    {
        m_process.end(std::chrono::milliseconds(0));
        stopBuses();
        QFile::remove("/tmp/controller.runs");
        QDir(m_folder.filePath("state")).removeRecursively();
    }

private:
    [[nodiscard]] bool startBuses()
    {
        return m_systemBus.start().isEmpty() && m_sessionBus.start().isEmpty();
    }

    [[nodiscard]] bool startHost()
    {
        return start({ world::World::binFolder() + "/bluetoothlauncher", "--state",
                       m_folder.filePath("state") })
            && world::awaitServer(m_sessionBus.address(), world::hostName(), m_process.descriptor(), -1,
                                  std::chrono::seconds(30))
            == world::Readiness::Ready;
    }

    [[nodiscard]] bool start(const QStringList& words)
    {
        const world::FileDescriptor output(
            open(qPrintable(m_folder.filePath("said")), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        world::Command command;
        command.arguments = words;
        command.output = output.get();
        return m_process.start(command).has_value();
    }

    /// Whether it ends by itself, as a failure.
    [[nodiscard]] bool endsSaying(const QString& text)
    {
        const auto hasEnded = [this] {
            return m_process.wait(std::chrono::milliseconds(0)).has_value();
        };
        return Patience::waitFor(hasEnded) && m_process.wait() == 1 && said().contains(text);
    }

    void stopBuses()
    {
        QDBusConnection::disconnectFromBus(ClientName);
        m_sessionBus.stop();
        m_systemBus.stop();
    }

    [[nodiscard]] QString said() const
    {
        QFile file(m_folder.filePath("said"));
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
    }

    QTemporaryDir m_folder;
    PrivateSystemBus m_systemBus;
    PrivateSessionBus m_sessionBus;
    world::ChildProcess m_process;
};

int main(int argc, char** argv)
{
    return runInPrivateView(RECORDING_CONTROLLER, argc, argv, [&](const world::PrivateFilesystem& /*view*/) {
        BusLossTest test;
        return QTest::qExec(&test, argc, argv);
    });
}

#include "BusLossTest.moc"

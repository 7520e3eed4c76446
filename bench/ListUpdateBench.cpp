// list_update_bench: what updates of a list of 32 devices cost a server and the bus, with and without clients
// that watch, and what it costs to read one item. Figures are ratios to telling each of the 97 writes in a
// signal of its own, in the same run.

#include "ListModule.h"
#include "MessageCounter.h"
#include "ProcessCost.h"

#include "ChildProcess.h"
#include "MessageBus.h"
#include "bus/ItemServer.h"
#include "client/KELClientInterface.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int Updates = 100;
constexpr int Watchers = 50;
constexpr int ManyItems = 10'000;
const QString Server = QStringLiteral("tov.base.bench");

int serve(const QStringList& arguments)
{
    QCoreApplication::setApplicationName(QStringLiteral("bench"));
    ListModule module(arguments.value(3).toInt(), arguments.value(4) == QLatin1String("expressions"));
    ipc::ItemServer server(QDBusConnection::sessionBus(), arguments.value(2));
    server.addModule(module);
    if (const auto started = server.start(); !started) {
        std::fprintf(stderr, "%s\n", qPrintable(started.error().message));
        return 1;
    }
    return QCoreApplication::exec();
}

/// @param name what tells whoever started it that it watches: a name on the bus of its own.
int watch(const QString& name)
{
    KELClientInterface client(Server, QDBusConnection::sessionBus());
    if (!client.watch()) {
        return 1;
    }
    QDBusConnection::sessionBus().registerService(name);
    return QCoreApplication::exec();
}

class Bench
{
public:
    int run()
    {
        const auto started = m_bus.start(world::MessageBus::Kind::Session, m_folder.path());
        if (!started) {
            std::fprintf(stderr, "%s\n", qPrintable(started.error().text));
            return 1;
        }
        m_busAddress = m_bus.address().toLocal8Bit();
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_busAddress);
        QDBusConnection::sessionBus(); // past the counter; Qt keeps the first address
        const QString busSocket = m_folder.filePath(QStringLiteral("session.bus"));
        const QString countedSocket = m_folder.filePath(QStringLiteral("counted.bus"));
        if (!m_counter.start(busSocket, countedSocket)) {
            return 1;
        }
        m_countedAddress = "unix:path=" + countedSocket.toLocal8Bit();

        startServer(0, false);
        std::printf("%-24s %8s %12s %8s %12s %12s %10s\n", "watchers, update", "signals", "bytes", "to base",
                    "server CPU", "to base", "bus CPU");
        measureAll("0");
        addWatchers(1);
        measureAll("1");
        addWatchers(Watchers - 1);
        measureAll("50");
        m_watchers.front()->signal(SIGSTOP);
        const long before = ownMemory(m_bus.pid());
        measureAll("50, one stopped");
        std::printf("memory of the bus for what the stopped one does not read: %+ld KiB\n",
                    ownMemory(m_bus.pid()) - before);
        m_watchers.clear();
        measureMemory();
        measureReading();
        return 0;
    }

private:
    struct Cost
    {
        double messages;
        double bytes;
        double serverCpu;
        double busCpu;
    };

    static bool isOnBus(const QString& name)
    {
        return QDBusConnection::sessionBus().interface()->isServiceRegistered(name);
    }

    /// Starts this program in another role and waits until it is on the bus.
    std::unique_ptr<world::ChildProcess> start(const QStringList& arguments, const QString& awaitedName)
    {
        QEventLoop loop;
        auto process = std::make_unique<world::ChildProcess>();
        world::Command command;
        command.arguments = QStringList{ QCoreApplication::applicationFilePath() } + arguments;
        if (!process->start(command)) {
            qFatal("%s cannot be started", qPrintable(arguments.first()));
        }
        QDBusServiceWatcher watcher(awaitedName, QDBusConnection::sessionBus(),
                                    QDBusServiceWatcher::WatchForRegistration);
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &loop, &QEventLoop::quit);
        if (!isOnBus(awaitedName)) {
            loop.exec();
        }
        return process;
    }

    void startServer(int others, bool withExpressions)
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_countedAddress);
        m_server.reset();
        m_counter.close();
        while (isOnBus(Server)) { } // until the bus has seen the end of the one before
        m_server = start({ QStringLiteral("serve"), m_folder.filePath(QStringLiteral("state")),
                           QString::number(others),
                           withExpressions ? QStringLiteral("expressions") : QStringLiteral("plain") },
                         Server);
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_busAddress);
    }

    void addWatchers(int count)
    {
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("bench.watcher%1").arg(m_watchers.size());
            m_watchers.push_back(start({ QStringLiteral("watch"), name }, name));
        }
    }

    Cost measure(const char* kind)
    {
        const qint64 messages = m_counter.messages;
        const qint64 bytes = m_counter.bytes;
        const double server = cpuMicroseconds(m_server->pid());
        const double bus = cpuMicroseconds(m_bus.pid());
        trigger(QStringLiteral("%1 %2").arg(QLatin1String(kind)).arg(Updates));
        return { static_cast<double>(m_counter.messages - messages) / Updates,
                 static_cast<double>(m_counter.bytes - bytes) / Updates,
                 (cpuMicroseconds(m_server->pid()) - server) / Updates,
                 (cpuMicroseconds(m_bus.pid()) - bus) / Updates };
    }

    /// Without blocking, because the counter works in this very event loop.
    static void trigger(const QString& request)
    {
        QDBusMessage call =
            QDBusMessage::createMethodCall(Server, QStringLiteral("/tov/base/Items"),
                                           QStringLiteral("tov.base.Items"), QStringLiteral("Trigger"));
        call.setArguments({ QStringLiteral("update"), request });
        QEventLoop loop;
        QDBusPendingCallWatcher answer(QDBusConnection::sessionBus().asyncCall(call, 600'000));
        QObject::connect(&answer, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
        loop.exec();
        if (answer.isError()) {
            qFatal("%s", qPrintable(answer.error().message()));
        }
    }

    void measureAll(const char* watchers)
    {
        measure("all"); // warms up
        const Cost base = measure("separate");
        const auto show = [&](const char* kind, const Cost& cost) {
            std::printf("%-15s %-8s %8.2f %12.0f %8.3f %9.0f us %12.3f %7.0f us\n", watchers, kind,
                        cost.messages, cost.bytes, cost.bytes / base.bytes, cost.serverCpu,
                        cost.serverCpu / base.serverCpu, cost.busCpu);
        };
        show("base", base);
        for (const char* kind : { "all", "one", "same" }) {
            measure(kind); // the step from another kind of update changes more than those that follow
            show(kind, measure(kind));
        }
        std::fflush(stdout);
    }

    void measureMemory()
    {
        startServer(0, false);
        const long none = ownMemory(m_server->pid());
        for (const bool withExpressions : { false, true }) {
            startServer(ManyItems, withExpressions);
            std::printf("memory of 1,000 items%s: %ld KiB\n",
                        withExpressions ? ", each with an expression of its own" : "",
                        (ownMemory(m_server->pid()) - none) * 1000 / ManyItems);
        }
    }

    /// The processor time of a program that reads an item; not its duration, as the server is behind the
    /// counter. Without blocking, for the same reason.
    static double costOfReading(const QString& program, const QStringList& arguments)
    {
        const double before = endedChildrenMicroseconds();
        QProcess process;
        QEventLoop loop;
        QObject::connect(&process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop,
                         &QEventLoop::quit);
        process.start(program, arguments);
        loop.exec();
        if (process.exitCode() != 0) {
            qFatal("%s: %s", qPrintable(program), process.readAllStandardError().constData());
        }
        return endedChildrenMicroseconds() - before;
    }

    void measureReading()
    {
        for (const int items : { 10, ManyItems }) {
            startServer(items, false);
            std::vector<double> ratios;
            for (int i = 0; i < Updates; ++i) {
                const double least = costOfReading(QStringLiteral(ONE_CALL), {});
                ratios.push_back(costOfReading(QStringLiteral(ITEMCTL), { "get", "status" }) / least);
            }
            std::nth_element(ratios.begin(), ratios.begin() + Updates / 2, ratios.end());
            std::printf("itemctl get, %d items: %.2f of the least program that reads one\n", items,
                        ratios[Updates / 2]);
            std::fflush(stdout);
        }
    }

    QTemporaryDir m_folder;
    world::MessageBus m_bus;
    QByteArray m_busAddress;
    QByteArray m_countedAddress;
    MessageCounter m_counter;
    std::unique_ptr<world::ChildProcess> m_server;
    std::vector<std::unique_ptr<world::ChildProcess>> m_watchers;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("serve")) {
        return serve(arguments);
    }
    if (arguments.value(1) == QLatin1String("watch")) {
        return watch(arguments.value(2));
    }
    return Bench().run();
}

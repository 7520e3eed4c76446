// flood_bench [SECONDS]: how long a client waits for one item while another floods the server with List
// calls, undisturbed and throughout the flood, and what the server grows to by it. In a world, in a release
// build: PRESET=release ./run -- build/release/bin/flood_bench

#include "ProcessCost.h"

#include "ChildProcess.h"
#include "client/KELClientInterface.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

const QString Server = QStringLiteral("tov.base.bluetoothlauncher");
constexpr int Undisturbed = 1000; ///< calls
constexpr std::chrono::milliseconds Pause{ 5 };
constexpr int OnTheWay = 2000; ///< calls of the flood; far more than a server lets wait

/// Sends calls without a pause, one more for each answer, and reads all of them.
class Flood : public QObject
{
public:
    Flood()
    {
        m_call.setArguments({ QStringList() });
        for (int i = 0; i < OnTheWay; ++i) {
            send();
        }
    }

    int answered = 0;
    int refused = 0;

private:
    void send()
    {
        auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(m_call), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
            ++(answer->isError() ? refused : answered);
            answer->deleteLater();
            send();
        });
    }

    QDBusMessage m_call = QDBusMessage::createMethodCall(
        Server, QStringLiteral("/tov/base/Items"), QStringLiteral("tov.base.Items"), QStringLiteral("List"));
};

/// Of many calls, in microseconds.
struct Durations
{
    double median = 0;
    double high = 0; ///< the 99th percentile
};

/// Reads one item again and again, as a person's programs do, as long as there is more to do.
template <typename More>
Durations durationsOfGet(More more)
{
    const KELClientInterface client(Server, QDBusConnection::sessionBus());
    std::vector<double> all;
    for (QElapsedTimer time; more();) {
        std::this_thread::sleep_for(Pause);
        time.start();
        if (const auto value = client.get(QStringLiteral("status")); !value) {
            qFatal("%s", qPrintable(value.error().message));
        }
        all.push_back(static_cast<double>(time.nsecsElapsed()) / 1000);
    }
    std::sort(all.begin(), all.end());
    return { all[all.size() / 2], all[all.size() * 99 / 100] };
}

Durations undisturbed()
{
    return durationsOfGet([left = Undisturbed]() mutable { return left-- > 0; });
}

int measure(const QString& seconds)
{
    const auto pid =
        static_cast<pid_t>(QDBusConnection::sessionBus().interface()->servicePid(Server).value());
    const Durations before = undisturbed();
    const long memoryBefore = memoryOf(pid, "VmRSS:");

    world::ChildProcess flood;
    world::Command command;
    command.arguments =
        QStringList{ QCoreApplication::applicationFilePath(), QStringLiteral("flood"), seconds };
    if (const auto started = flood.start(command); !started) {
        qFatal("%s", qPrintable(started.error().text));
    }
    const Durations flooded =
        durationsOfGet([&flood] { return !flood.wait(std::chrono::milliseconds(0)).has_value(); });
    const Durations after = undisturbed();

    const auto show = [&before](const char* when, const Durations& get) {
        std::printf("get %-12s half within %7.0f us, 99 of 100 within %7.0f us, %6.2f of undisturbed\n", when,
                    get.median, get.high, get.high / before.high);
    };
    show("undisturbed", before);
    show("flooded", flooded);
    show("afterwards", after);
    std::printf("memory of the server: %ld kB before, at most %ld kB, %ld kB afterwards\n", memoryBefore,
                memoryOf(pid, "VmHWM:"), memoryOf(pid, "VmRSS:"));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("flood")) {
        const Flood flood;
        QTimer::singleShot(std::chrono::seconds(arguments.value(2).toInt()), &QCoreApplication::quit);
        const int status = QCoreApplication::exec();
        std::printf("flood: %d calls answered, %d refused\n", flood.answered, flood.refused);
        return status;
    }
    return measure(arguments.value(1, QStringLiteral("20")));
}

#include "support/PrivateBus.h"
#include "world/ChildProcess.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <random>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr int Kills = 200;
constexpr int PatienceMilliseconds = 30'000;
/// A file beside the old one is made, filled and given its name.
constexpr std::uint32_t StepsOfAWrite = IN_CREATE | IN_MODIFY | IN_MOVED_TO;

} // namespace

/// A server that is killed while it writes leaves its configs whole.
class StorageKillTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_bus.start(), QString());
        QVERIFY(QDir().mkdir(statePath(QString())));
        m_steps = world::FileDescriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        QVERIFY(inotify_add_watch(m_steps.get(), QFile::encodeName(statePath(QString())).constData(),
                                  StepsOfAWrite)
                >= 0);
    }

    void aKillLeavesTheOldOrTheNewState()
    {
        std::mt19937 random(20240229); // NOLINT(bugprone-random-generator-seed): the same moments in each run
        int before = 0;
        int interrupted = 0;
        for (int kill = 0; kill < Kills; ++kill) {
            const int steps = 1 + static_cast<int>(random() % 9);
            QCOMPARE(startAndKill(steps, static_cast<int>(random() % 30)), QByteArray());
            // Each start went on where the kill before left it. Three steps are one write.
            const int after = storedValue();
            QVERIFY2(after >= before + steps / 3,
                     qPrintable(QString("%1 after %2 and %3 steps").arg(after).arg(before).arg(steps)));
            before = after;

            QStringList entries = QDir(statePath(QString())).entryList(QDir::Files | QDir::Hidden);
            entries.removeOne("pairs.json");
            QVERIFY2(entries.size() <= 1, qPrintable(entries.join(' ')));
            interrupted += static_cast<int>(entries.size());
        }
        QVERIFY2(interrupted > 0, "no kill hit a write, so nothing was tried");
    }

private:
    /// Starts the server and kills it after so many steps of its writes. @return what it printed.
    QByteArray startAndKill(int steps, int looks)
    {
        QFile output(m_folder.filePath("output"));
        if (!output.open(QIODevice::ReadWrite | QIODevice::Truncate)) {
            return "no file for the output";
        }
        QDBusServiceWatcher watcher("tov.base.pairs", QDBusConnection::sessionBus(),
                                    QDBusServiceWatcher::WatchForUnregistration);
        QSignalSpy left(&watcher, &QDBusServiceWatcher::serviceUnregistered);
        world::ChildProcess server;
        world::Command command;
        command.arguments = QStringList{ PAIR_WRITER, m_folder.filePath("state") };
        command.output = output.handle();
        if (!server.start(command)) {
            return "the server cannot be started";
        }

        if (!waitForSteps(steps, server.descriptor())) {
            return "the server ended by itself, or does not write: " + output.readAll();
        }
        // A few idle looks move the kill about within the step that is under way by now.
        for (int i = 0; i < looks; ++i) {
            QFile::exists(statePath("pairs.json"));
        }
        server.signal(SIGKILL);
        server.wait();
        while (stepsSeen() > 0) { } // those of the next start count anew
        if (left.isEmpty() && !left.wait()) {
            return "the server's name stayed on the bus";
        }
        return output.readAll();
    }

    /// @param serverEnded becomes readable then. @return whether the server took so many steps of its writes.
    [[nodiscard]] bool waitForSteps(int steps, int serverEnded) const
    {
        std::array<pollfd, 2> sources{ { { m_steps.get(), POLLIN, 0 }, { serverEnded, POLLIN, 0 } } };
        for (int seen = 0; seen < steps;) {
            if (poll(sources.data(), sources.size(), PatienceMilliseconds) <= 0 || sources[1].revents != 0) {
                return false;
            }
            seen += stepsSeen();
        }
        return true;
    }

    /// The steps since the last call.
    [[nodiscard]] int stepsSeen() const
    {
        alignas(inotify_event) std::array<char, 4096> events{};
        const ssize_t length = read(m_steps.get(), events.data(), events.size());
        int count = 0;
        for (ssize_t at = 0; at < length; ++count) {
            inotify_event event = {};
            std::memcpy(&event, events.data() + at, sizeof event);
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
        return count;
    }

    /// The value that all configs in the file have, 0 without a file; -1 when it is not whole, or they
    /// differ.
    [[nodiscard]] int storedValue() const
    {
        QFile file(statePath("pairs.json"));
        if (!file.exists()) {
            return 0;
        }
        if (!file.open(QIODevice::ReadOnly)) {
            return -1;
        }
        const QJsonObject modules = QJsonDocument::fromJson(file.readAll()).object()["modules"].toObject();
        const QJsonObject one = modules["one"].toObject()["values"].toObject();
        const int value = one["left"].toInt(-1);
        const QJsonObject expected{ { "left", value }, { "right", value } };
        const bool isWhole = one == expected && modules["two"].toObject()["values"].toObject() == expected;
        return isWhole ? value : -1;
    }

    [[nodiscard]] QString statePath(const QString& name) const { return m_folder.filePath("state/" + name); }

    QTemporaryDir m_folder;
    PrivateSessionBus m_bus;
    world::FileDescriptor m_steps; ///< inotify
};

QTEST_GUILESS_MAIN(StorageKillTest)
#include "StorageKillTest.moc"

#include "PairModule.h"
#include "SystemCalls.h"

#include "bus/ItemServer.h"
#include "store/AtomicFile.h"
#include "support/PrivateBus.h"
#include "support/Rows.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QStringList messages;

mode_t permissions(const QString& path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777U : 0;
}

const QStringList OneWrite{ "fsync server.json.XXXXXX.unfinished",
                            "rename server.json.XXXXXX.unfinished server.json", "fsync state" };

} // namespace

/// When and how a server's configs reach the disk.
class StorageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_bus.start(), QString());
        QCoreApplication::setApplicationName("server");
        umask(0); // the worst that a host can be started with
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        startServer();
        messages.clear();
    }

    void cleanup()
    {
        SystemCalls::fsyncError = 0;
        stopServer();
    }

    void allOfOneTurnIsOneWriteThatLasts()
    {
        m_one->setPair(1);
        m_two->setPair(1);
        QVERIFY(SystemCalls::made.isEmpty());
        ipc::ItemRecords items; // a list contains all up to its serial: it ends the turn
        QCOMPARE(m_server->List({}, items), 1U);
        // The file is on the disk before it gets its name, and the name is when the write returns.
        QCOMPARE(SystemCalls::made, OneWrite);
        QCOMPARE(m_one->timesSaved + m_two->timesSaved, 2);

        stopServer();
        startServer();
        QCOMPARE(m_one->pair(), (QPair<int, int>(1, 1)));
        QCOMPARE(m_two->pair(), (QPair<int, int>(1, 1)));
    }

    void whatIsStoredAlreadyIsNotWritten()
    {
        m_one->setPair(1);
        endTurn();
        SystemCalls::made.clear();

        m_one->setPair(2); // and back within the turn: no change
        m_one->setPair(1);
        endTurn();
        QCOMPARE(SystemCalls::made, QStringList());

        // A change, but one that the file says already: written there by a hand.
        const QByteArray content = stored().replace(": 1", ": 5");
        writeByHand(content);
        m_one->setPair(5);
        endTurn();
        QCOMPARE(SystemCalls::made, QStringList());
        QCOMPARE(m_one->timesSaved, 2);
        // Nor does another module's write touch what a hand wrote.
        m_one->setPair(6);
        endTurn();
        writeByHand(content);
        m_two->setPair(7);
        endTurn();
        QVERIFY(stored().contains(": 5"));
    }

    void theLastTurnBeforeTheEndIsStored()
    {
        m_one->setPair(1);
        stopServer();
        startServer();
        QCOMPARE(m_one->pair(), (QPair<int, int>(1, 1)));
        endTurn();
        QCOMPARE(m_one->timesSaved, 0); // what is loaded is no change

        m_one->setPair(0); // but the default behind it is one; and the end tries once more
        SystemCalls::fsyncError = ENOSPC;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("server.json cannot be written"));
        endTurn();
        SystemCalls::fsyncError = 0;
        stopServer();
        startServer();
        QCOMPARE(m_one->pair(), (QPair<int, int>(0, 0)));
    }

    void aFailureIsToldOnceAndTheNextChangeTriesAgain()
    {
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { messages << text; });
        m_one->setPair(1);
        endTurn();
        SystemCalls::fsyncError = ENOSPC;
        for (const int number : { 2, 3, 4 }) {
            m_one->setPair(number);
            endTurn();
        }
        const QStringList toldMeanwhile = messages;
        const QStringList left = QDir(statePath("")).entryList(QDir::Files);
        SystemCalls::fsyncError = 0;
        // The other module's change takes along what could not be stored.
        m_two->setPair(7);
        endTurn();
        qInstallMessageHandler(before);

        QCOMPARE(toldMeanwhile.size(), 1);
        QVERIFY2(toldMeanwhile.first().contains("server.json cannot be written")
                     && toldMeanwhile.first().contains("No space left on device"),
                 qPrintable(toldMeanwhile.first()));
        QCOMPARE(left, QStringList("server.json"));
        QCOMPARE(messages.size(), 2);
        QVERIFY(messages.last().contains("is written again"));
        QCOMPARE(m_one->timesSaved, 2);
        stopServer();
        startServer();
        QCOMPARE(m_one->pair(), (QPair<int, int>(4, 4)));
        QCOMPARE(m_two->pair(), (QPair<int, int>(7, 7)));
    }

    void aKillLeavesTheOldOrTheNewState_data()
    {
        const Rows<int, int> row("steps", "found");
        row("within the write", -1, 1);
        row("before the file is on the disk", 0, 1);
        row("before it gets its name", 1, 1);
        row("before the name is on the disk", 2, 2);
    }

    void aKillLeavesTheOldOrTheNewState()
    {
        QFETCH(int, steps);
        QFETCH(int, found);
        m_one->setPair(2);
        endTurn();
        const QByteArray content = stored();
        m_one->setPair(1);
        endTurn();
        SystemCalls::made.clear();
        const pid_t writer = fork();
        if (writer == 0) {
            const rlimit none{ 0, 0 };
            const rlimit few{ 10, 10 };
            setrlimit(RLIMIT_CORE, &none);
            if (steps < 0) {
                setrlimit(RLIMIT_FSIZE, &few); // the byte behind it is the end
            }
            SystemCalls::killedAfter = steps;
            static_cast<void>(ipc::replaceFile(statePath("server.json"), content));
            _exit(0);
        }
        int status = 0;
        QCOMPARE(waitpid(writer, &status, 0), writer);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(QDir(statePath("")).entryList(QDir::Files).size(), 3 - found); // it was at it
        stopServer();
        startServer();
        QCOMPARE(m_one->pair(), (QPair<int, int>(found, found)));
        QCOMPARE(QDir(statePath("")).entryList(QDir::Files), QStringList("server.json"));
    }

    void onlyUnfinishedFilesOfOursAreRemoved()
    {
        stopServer();
        const QStringList others{ "server.json",
                                  "server.json.backup",
                                  "server.json.damaged-2024",
                                  "serverXjson.aaaaaa.unfinished",
                                  "server.json.aaaaaaa.unfinished",
                                  "other.json.aaaaaa.unfinished" };
        const QStringList unfinished{ "server.json.aB3xyZ.unfinished", "server.json.000000.unfinished" };
        for (const QString& name : others + unfinished) {
            QFile file(statePath("") + name);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("{}");
        }
        startServer();
        QStringList expected = others;
        expected.sort();
        QStringList found = QDir(statePath("")).entryList(QDir::Files);
        found.sort();
        QCOMPARE(found, expected);
    }

    void aLinkStaysAndSomeFoldersCannotBeSynchronised()
    {
        QVERIFY(QFile::link(m_folder->filePath("elsewhere.json"), statePath("server.json")));
        QFile elsewhere(m_folder->filePath("elsewhere.json"));
        QVERIFY(elsewhere.open(QIODevice::WriteOnly) && elsewhere.write("{}") && elsewhere.flush());
        SystemCalls::folderError = EINVAL;
        m_one->setPair(1);
        endTurn();
        SystemCalls::folderError = 0;
        QCOMPARE(m_one->timesSaved, 1);
        QCOMPARE(QFile::symLinkTarget(statePath("server.json")), elsewhere.fileName());
    }

    void aFolderThatWasRemovedIsMadeAgain()
    {
        QVERIFY(QDir(statePath("")).removeRecursively());
        m_one->setPair(1);
        endTurn();
        QCOMPARE(m_one->timesSaved, 1);
        QCOMPARE(permissions(statePath("")), 0700U);
        QVERIFY(stored().contains(": 1"));
    }

    void nobodyElseCanRead()
    {
        QCOMPARE(permissions(statePath("")), 0700U);
        m_one->setPair(1);
        endTurn();
        QCOMPARE(permissions(statePath("server.json")), 0600U);
        // Opened by a hand, it is closed again with the next change.
        QFile(statePath("server.json")).setPermissions(QFile::ReadOwner | QFile::ReadOther);
        m_one->setPair(2);
        endTurn();
        QCOMPARE(permissions(statePath("server.json")), 0600U);

        const QString deep = m_folder->filePath("a/b");
        QVERIFY(ipc::makePrivateFolder(deep));
        QCOMPARE(permissions(deep), 0700U);
        QCOMPARE(permissions(m_folder->filePath("a")), 0700U);
        const auto belowAFile = ipc::makePrivateFolder(statePath("server.json/c"));
        QVERIFY(belowAFile.error().message.contains("server.json: File exists"));
    }

private:
    void startServer()
    {
        m_one = std::make_unique<PairModule>("one");
        m_two = std::make_unique<PairModule>("two");
        m_server =
            std::make_unique<ipc::ItemServer>(QDBusConnection::sessionBus(), m_folder->filePath("state"));
        m_server->addModule(*m_one);
        m_server->addModule(*m_two);
        const auto started = m_server->start();
        QVERIFY2(started, qPrintable(started.error().message));
        SystemCalls::made.clear();
    }

    void stopServer()
    {
        if (m_server) {
            m_server->halt();
        }
        m_server.reset();
    }

    [[nodiscard]] QString statePath(const char* name) const
    {
        return m_folder->filePath("state/" + QLatin1String(name));
    }
    [[nodiscard]] QByteArray stored() const
    {
        QFile file(statePath("server.json"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void writeByHand(const QByteArray& content) const
    {
        QFile file(statePath("server.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    /// Lets the turn end in which something was changed.
    static void endTurn() { QCoreApplication::processEvents(); }

    PrivateSessionBus m_bus;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PairModule> m_one;
    std::unique_ptr<PairModule> m_two;
    std::unique_ptr<ipc::ItemServer> m_server;
};

QTEST_GUILESS_MAIN(StorageTest)
#include "StorageTest.moc"

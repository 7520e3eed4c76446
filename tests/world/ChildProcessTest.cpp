#include "ChildProcess.h"
#include "Descendants.h"
#include "EndingSignals.h"
#include "support/Rows.h"

#include <QTemporaryFile>
#include <QTest>

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

using world::ChildProcess;
using world::Command;

namespace {

Command commandOf(const QStringList& arguments, Command::Place place = Command::Place::Background)
{
    Command command;
    command.arguments = arguments;
    command.place = place;
    return command;
}

} // namespace

/// What a started process has, and how it ends.
class ChildProcessTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endsOneThatIsStopped_data()
    {
        const Rows<bool> row("asDescendant");
        row("a child", false);
        row("a descendant", true);
    }

    void endsOneThatIsStopped()
    {
        QFETCH(bool, asDescendant);
        ChildProcess child;
        QVERIFY(child.start(commandOf({ "sleep", "1000" })));
        child.signal(SIGSTOP);
        siginfo_t stopped{};
        QCOMPARE(waitid(P_PID, static_cast<id_t>(child.pid()), &stopped, WSTOPPED), 0);
        if (asDescendant) {
            world::endDescendants({}, ChildProcess::Grace);
        } else {
            child.end();
        }
        QCOMPARE(child.wait(), std::optional<int>(128 + SIGTERM)); // it heard that, and was not killed
    }

    void endsWithWhoStartedIt()
    {
        world::Pipe pipe = world::Pipe::create();
        const pid_t parent = fork();
        if (parent == 0) {
            ChildProcess child;
            pid_t pid = child.start(commandOf({ "sleep", "1000" })) ? child.pid() : 0;
            _exit(write(pipe.writing.get(), &pid, sizeof pid) == sizeof pid ? pause() : 1);
        }
        pid_t child = 0;
        QCOMPARE(read(pipe.reading.get(), &child, sizeof child), ssize_t(sizeof child));
        const world::FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
        kill(parent, SIGKILL);
        waitpid(parent, nullptr, 0);
        pollfd ended{ process.get(), POLLIN, 0 };
        const int count = poll(&ended, 1, 5000);
        kill(child, SIGKILL);
        QCOMPARE(count, 1);
    }

    // A copy shares what wakes this process.
    void signalToACopyEndsTheCopy()
    {
        const base::EndingSignals ending;
        const pid_t copy = fork();
        if (copy == 0) {
            _exit(raise(SIGTERM));
        }
        int status = 0;
        QCOMPARE(waitpid(copy, &status, 0), copy);
        QCOMPARE(WEXITSTATUS(status), 128 + SIGTERM);
    }

    void belongsToItsPlace_data()
    {
        const Rows<bool> row("inBackground");
        row("background", true);
        row("foreground", false);
    }

    // What nobody sees shall not hold a terminal, or a pipe of ours, open.
    void belongsToItsPlace()
    {
        QFETCH(bool, inBackground);
        const auto place = inBackground ? Command::Place::Background : Command::Place::Foreground;
        ChildProcess sleeper;
        QVERIFY(sleeper.start(commandOf({ "sleep", "1000" }, place)));
        QCOMPARE(getsid(sleeper.pid()), inBackground ? sleeper.pid() : getsid(0));

        QTemporaryFile output;
        QVERIFY(output.open());
        std::array<int, 2> inherited{ -1, -1 };
        QCOMPARE(pipe(inherited.data()), 0); // without O_CLOEXEC
        Command list = commandOf({ "ls", "/proc/self/fd" }, place);
        list.output = output.handle();
        ChildProcess ls;
        QVERIFY(ls.start(list));
        QCOMPARE(ls.wait(), std::optional<int>(0));
        for (const int descriptor : inherited) {
            close(descriptor);
        }
        QVERIFY(output.seek(0));
        const QByteArray descriptors = output.readAll(); // three, and one for the folder that is listed
        QVERIFY2((descriptors == "0\n1\n2\n3\n") == inBackground, descriptors);
    }
};

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "ChildProcessTest.moc"

#pragma once

#include "EverydayOutput.h"
#include "PrivateView.h"
#include "ScriptedDaemon.h"
#include "World.h"
#include "client/KELClientInterface.h"

#include <QTest>

#include <sys/types.h>

#include <memory>

/// The module in its real host on private buses, seen from both sides: its items as a client sees them, and
/// the daemon that it talks to.
class ModuleWorld
{
public:
    explicit ModuleWorld(const world::PrivateFilesystem& filesystem);

    /// @return what went wrong; empty when the world is there.
    [[nodiscard]] QString start();

    /// The daemon of this test. It is not on the bus before appear().
    [[nodiscard]] ScriptedDaemon& daemon() { return *m_daemon; }
    [[nodiscard]] world::World& world() { return m_world; }
    [[nodiscard]] world::Mechanism mechanism() const { return m_filesystem.mechanism(); }
    [[nodiscard]] KELClientInterface& client() { return *m_client; }

    /// The value of an item; invalid when it cannot be read.
    [[nodiscard]] QVariant value(const QString& item) const;
    [[nodiscard]] QString text(const QString& item) const { return value(item).toString(); }
    /// One of an item's properties: "applicable", "label", "kind", ….
    [[nodiscard]] QVariant property(const QString& item, const QString& name) const;
    [[nodiscard]] bool isApplicable(const QString& item) const;
    /// @return why the item could not be written; empty when it was
    [[nodiscard]] QString write(const QString& item, const QVariant& value) const;
    [[nodiscard]] bool set(const QString& item, const QVariant& value) const
    {
        return write(item, value).isEmpty();
    }
    /// The action's reply text, or why it could not be triggered.
    [[nodiscard]] QString trigger(const QString& action, const QString& text = {}) const;

    /// Takes the daemon to the bus, or from it, and lets the module follow, as settle() does.
    [[nodiscard]] bool daemonAppears();
    [[nodiscard]] bool daemonLeaves();
    /// Returns when the module has worked off all that daemon and clients sent before, and when all that it
    /// sent because of it has come to daemon and test: what is not so then will not be. It goes by the order
    /// of messages alone and does not rely on anything that the module does. @return false when the host does
    /// not answer
    [[nodiscard]] bool settle();
    [[nodiscard]] bool settle(ScriptedDaemon& daemon); ///< which sent last

    /// Empty when the item has that value; otherwise the item, what was expected and what was found.
    [[nodiscard]] QString difference(const QString& item, const QVariant& expected) const;
    [[nodiscard]] QString applicabilityDifference(const QString& item, bool expected) const;

    /// How often a line stands in what the host printed.
    [[nodiscard]] int countInOutput(const QString& line) const;
    /// The children of the host that are still there, zombies as well.
    [[nodiscard]] QList<pid_t> hostChildren() const;

private:
    [[nodiscard]] bool hostAnswers(ScriptedDaemon& daemon);
    template <typename Answer>
    Answer noted(Answer answer) const;

    const world::PrivateFilesystem& m_filesystem;
    world::World m_world;
    std::unique_ptr<ScriptedDaemon> m_daemon;
    std::unique_ptr<KELClientInterface> m_client;
    QStringList m_hostConnections; ///< to the system bus
    pid_t m_connectionsOwner = 0;
};

/// Ends the test function, with the data row, when a text says what is wrong.
#define VERIFY_SAME(difference)                                                                              \
    do {                                                                                                     \
        const QString problem = (difference);                                                                \
        if (!problem.isEmpty()) {                                                                            \
            QTest::qFail(qPrintable(problem), __FILE__, __LINE__);                                           \
            return;                                                                                          \
        }                                                                                                    \
    } while (false)
/// What an item of m_world is, or whether it applies, once and now: see settle().
#define COMPARE_ITEM(item, expected) VERIFY_SAME(m_world.difference(item, expected))
#define COMPARE_APPLICABLE(item, expected) VERIFY_SAME(m_world.applicabilityDifference(item, expected))

/// Writes one.
#define SET_ITEM(item, value) VERIFY_SAME(m_world.write(item, value))

/// Whether a process is a zombie: ended, but not waited for.
[[nodiscard]] bool isZombie(pid_t pid);

/// What the recording controller wrote about one of its runs.
struct ControllerRun
{
    pid_t pid = 0;
    QList<QByteArray> arguments;
    int parentDeathSignal = 0;
    bool sigtermBlocked = false;
    bool ended = false;
};
[[nodiscard]] QList<ControllerRun> controllerRuns();

/// What every test class in a ModuleWorld has.
class ModuleTest : public QObject
{
public:
    explicit ModuleTest(ModuleWorld& world)
        : m_world(world)
        , m_daemon(world.daemon())
    {
    }

protected:
    ModuleWorld& m_world;
    ScriptedDaemon& m_daemon;
};

/// main() of such a class.
template <typename Test>
int runInModuleWorld(int argc, char** argv)
{
    return runInPrivateView(
        RECORDING_CONTROLLER, argc, argv, [&](const world::PrivateFilesystem& filesystem) {
            qputenv("PATH", QByteArray(TEST_PROGRAMS) + ':' + qgetenv("PATH"));
            ModuleWorld world(filesystem);
            const QString problem = world.start();
            if (!problem.isEmpty()) {
                std::fprintf(stderr, "%s\n%s\n", qPrintable(problem), qPrintable(world.world().output()));
                return 1;
            }
            Test test(world);
            const int failures = QTest::qExec(&test, argc, argv);
            if (failures != 0) {
                std::fprintf(stderr, "%s\n", qPrintable(world::withoutEverydayLines(world.world().output())));
            }
            return failures;
        });
}

#define MODULE_TEST_MAIN(Test)                                                                               \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        return runInModuleWorld<Test>(argc, argv);                                                           \
    }

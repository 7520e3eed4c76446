#pragma once

#include "client/KELClientInterface.h"
#include "world/World.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QTest>

#include <cstdio>
#include <functional>
#include <memory>

namespace testkit {

/// Who is around the simulated radio, and how it runs.
struct SimulationOptions
{
    QString scenario = QStringLiteral("room"); ///< a name, or the path of a file
    quint32 seed = 1; ///< the same number, the same run
    bool isPaused = true; ///< the simulated time passes by step() alone, so that a test has no race
};

/// A private world for a test program: buses, the host with the Bluetooth module, and the simulated radio,
/// seen from both sides: the module's items as a client sees them, and what drives the simulation.
///
///     #include <SimulatedWorld.h>
///     class LampTest : public QObject { … explicit LampTest(testkit::SimulatedWorld& world); … };
///     BLUETOOTH_TESTKIT_MAIN(LampTest)
///
/// In CMake: find_package(bluetooth-testkit), and target_link_libraries(… bluetooth::testkit).
///
/// Questions and changes that fail answer with an empty value or false; problem() then says why.
class SimulatedWorld
{
public:
    explicit SimulatedWorld(const world::PrivateFilesystem& filesystem);
    ~SimulatedWorld();
    SimulatedWorld(const SimulatedWorld&) = delete;
    SimulatedWorld& operator=(const SimulatedWorld&) = delete;

    /// Begins, or begins anew: a fresh host, the radio off, nothing paired. Sets the environment of this
    /// process, see world::World.
    [[nodiscard]] bool start(const SimulationOptions& options = {});

    /// Has the module switch the radio on, and returns when it is.
    [[nodiscard]] bool switchOn();
    /// Puts a daemon on the bus that is no child of the module, so that it stays when the module switches
    /// off.
    [[nodiscard]] bool startOwnDaemon(const QString& scenario = {});
    void endOwnDaemon() { m_ownDaemon.reset(); }

    // The module's items, by id.
    [[nodiscard]] QString text(const QString& item);
    [[nodiscard]] int number(const QString& item) { return text(item).toInt(); }
    [[nodiscard]] bool isApplicable(const QString& item);
    [[nodiscard]] bool set(const QString& item, const QVariant& value);
    [[nodiscard]] bool trigger(const QString& action, const QString& text = {});
    /// Returns when the item has this value.
    [[nodiscard]] bool waitFor(const QString& item, const QString& value);
    [[nodiscard]] bool waitForApplicable(const QString& item, bool applicable);
    [[nodiscard]] KELClientInterface& client() { return *m_client; }

    // The simulation.
    /// Lets simulated time pass; returns when every signal that fell due is on the bus.
    [[nodiscard]] bool step(double seconds) { return control("Step", { seconds }); }
    /// A request is on its way through two buses; simulated time passes, half a second at a time, until the
    /// condition holds.
    [[nodiscard]] bool stepUntil(const std::function<bool()>& holds);
    [[nodiscard]] bool stepUntil(const QString& item, const QString& value);
    [[nodiscard]] bool fault(const QStringList& fault) { return control("SetFault", { fault }); }
    /// The daemon's methods that were called, the oldest first.
    [[nodiscard]] QStringList calls() const;
    /// Any method of tov.sim.Radio1.
    [[nodiscard]] bool control(const char* method, const QVariantList& arguments);
    [[nodiscard]] QDBusMessage ask(const char* method, const QVariantList& arguments = {}) const;

    /// Why the last question or change failed.
    [[nodiscard]] const QString& problem() const { return m_problem; }
    [[nodiscard]] world::World& world() { return m_world; }

private:
    [[nodiscard]] bool succeed(const QString& problem);
    [[nodiscard]] bool waitForSimulation();

    const world::PrivateFilesystem& m_filesystem;
    world::World m_world;
    std::unique_ptr<KELClientInterface> m_client;
    std::unique_ptr<world::ChildProcess> m_ownDaemon;
    QString m_problem;
    bool m_hasBuses = false;
};

/// main() of a test class that is constructed with a SimulatedWorld&. 77, which CTest can count as skipped,
/// where no private view of the file system can be had.
template <typename Test>
int run(int argc, char** argv)
{
    world::World::setBinFolder(QStringLiteral(BLUETOOTH_TESTKIT_BIN));
    world::PrivateFilesystem filesystem;
    // Before anything that may start a thread.
    const QString noView =
        filesystem.enter({ world::World::binFolder() + QStringLiteral("/bluesim"), {} }, argv);
    if (!noView.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(noView));
        return 77;
    }
    const QCoreApplication application(argc, argv);
    SimulatedWorld world(filesystem);
    if (!world.start()) {
        std::fprintf(stderr, "%s\n%s\n", qPrintable(world.problem()), qPrintable(world.world().output()));
        return 1;
    }
    Test test(world);
    const int failures = QTest::qExec(&test, argc, argv);
    if (failures != 0) {
        std::fprintf(stderr, "%s\n", qPrintable(world.world().output()));
    }
    return failures;
}

} // namespace testkit

#define BLUETOOTH_TESTKIT_MAIN(Test)                                                                         \
    int main(int argc, char** argv)                                                                          \
    {                                                                                                        \
        return testkit::run<Test>(argc, argv);                                                               \
    }
